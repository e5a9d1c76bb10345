// A PC with Windows, as Wine provides it: a prefix of its own, with the handheld's cable as COM1.
#pragma once

#include "testing/test_home.h"
#include "testing/x_desktop.h"

#include <filesystem>
#include <memory>

namespace test_support {

// Where scripts/test-windows-program has laid out what these tests need: the programs, in 32 or 64
// bits, the commands `wine` and `wineserver` for them, and a prefix. Empty without it.
std::string WindowsFolder();

class WindowsPc {
public:
    // The prefix lies in the home. Its server reads the ports when it starts, so the
    // handheld has to be in its cradle already.
    explicit WindowsPc(const TestHome& home);
    ~WindowsPc(); // shuts down
    WindowsPc(const WindowsPc&) = delete;
    WindowsPc& operator=(const WindowsPc&) = delete;

    // A program of Windows, by its path on the host, and its arguments.
    std::unique_ptr<ChildProcess> Start(const std::vector<std::string>& command) const;
    // Starts ActiveSync, as a PC has it before the wizard comes, and waits for it.
    void StartActiveSync();

    // Where Windows keeps the libraries of the programs' width, rapi.dll among them, on the host.
    std::filesystem::path SystemFolder() const;
    // The USB port opens, but it has no driver behind it: its requests fail, as on a lost device.
    void AddDriverlessUsbPort() const;

    // Ends everything that runs there, and with it Windows; the next program starts it anew.
    void ShutDown() const;
    // A key of the current user with its values, a line each, as the registry was left on the disk
    // by ShutDown. Empty without such a key.
    std::string UserKey(const std::string& key) const;

private:
    void CopyPrefix() const;
    // `wine` or `wineserver`, and its arguments.
    std::unique_ptr<ChildProcess> RunTool(std::vector<std::string> words) const;
    Environment Variables() const;

    const TestHome& home_;
    XDesktop desktop_;
    std::unique_ptr<ChildProcess> bridge_, activeSync_;
    std::string cradlePort_; // of 127.0.0.1, connected to the handheld's RAPI
};

// The wizard as Windows runs it, its pages answered as by WizardRun.
class WindowsRun {
public:
    explicit WindowsRun(const WindowsPc& pc);

    // The next page that stays until the user leaves it must be that one. Those that end by
    // themselves may have gone before anybody saw them, and are passed over.
    void ExpectPage(int page);
    void Send(const std::string& line) { user_->Send(line); }
    void Answer(int page, const std::string& line);
    ChildProcess& User() { return *user_; }
    // The exit code of the wizard. Throws where Wine has found fault with one of its calls, or the
    // user with the layout of a page.
    int Wait();

private:
    std::unique_ptr<ChildProcess> user_;
};

} // namespace test_support
