// Setting up a prefix of Wine for a test, and starting programs in it.

#include "testing/wine.h"

#include "testing/wizard_run.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>

namespace test_support {

namespace {

namespace fs = std::filesystem;

// What the registry of the copied prefix has until the port's path replaces it.
constexpr char PlaceholderPort[] = "/dev/null/com1";

void Replace(std::string& text, const std::string& old, const std::string& other) {
    const std::size_t at = text.find(old);
    if (at == std::string::npos)
        throw std::runtime_error("the prefix has no " + old);
    text.replace(at, old.size(), other);
}

// "listening on AF=2 127.0.0.1:40123"
std::string PortIn(const std::string& line) { return line.substr(line.rfind(':') + 1); }

} // namespace

std::string WindowsFolder() {
    const char* folder = std::getenv("ROM_WIZARD_WINDOWS");
    return folder ? folder : "";
}

WindowsPc::WindowsPc(const TestHome& home) : home_(home) {
    CopyPrefix();
    bridge_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"/usr/bin/socat", "-d", "-d", "TCP-LISTEN:0,bind=127.0.0.1,fork",
                                 "UNIX-CONNECT:" + (home.Home() / "cradle.sock").string()});
    cradlePort_ = PortIn(bridge_->ExpectLine("listening on"));
}

WindowsPc::~WindowsPc() {
    try {
        ShutDown();
    } catch (const std::runtime_error&) { // what still runs ends with the machine
    }
}

// The first finds no server where nothing has run.
void WindowsPc::ShutDown() const {
    RunTool({"wineserver", "-k"})->Wait();
    const auto end = RunTool({"wineserver", "-w"});
    if (end->Wait() != 0)
        throw std::runtime_error("cannot end Windows:\n" + end->Transcript());
}

// Files as links, since only those of the registry are ever written; and these by their new
// content.
void WindowsPc::CopyPrefix() const {
    const fs::path from = fs::path(WindowsFolder()) / "prefix", to = home_.Path("prefix");
    fs::copy(from, to,
             fs::copy_options::recursive | fs::copy_options::copy_symlinks |
                 fs::copy_options::create_hard_links);
    for (const char* name : {"system.reg", "user.reg", "userdef.reg"}) {
        std::string registry = ReadBytes(from / name);
        if (std::string(name) == "system.reg")
            Replace(registry, PlaceholderPort, (home_.Home() / "ports" / "COM1").string());
        fs::remove(to / name);
        std::ofstream(to / name, std::ios::binary) << registry;
    }
}

Environment WindowsPc::Variables() const {
    Environment variables = desktop_.Variables();
    for (const auto& [name, value] :
         Environment{{"WINEPREFIX", home_.Path("prefix").string()},
                     // the loader puts in the folder for the width of each process
                     {"LD_PRELOAD", WindowsFolder() + "/$LIB/serial_ports.so"},
                     {"WINEDLLOVERRIDES", "mscoree,mshtml="}, // nothing here asks for their engines
                     {"WINEDEBUG", "fixme-all"},
                     {"ROM_WIZARD_CRADLE_PORT", cradlePort_}})
        variables.emplace_back(name, value);
    return variables;
}

std::unique_ptr<ChildProcess> WindowsPc::Start(const std::vector<std::string>& command) const {
    std::vector<std::string> words = {"wine"};
    words.insert(words.end(), command.begin(), command.end());
    return RunTool(words);
}

// In a folder that is there on every system of the machine.
std::unique_ptr<ChildProcess> WindowsPc::RunTool(std::vector<std::string> words) const {
    words[0] = WindowsFolder() + "/" + words[0];
    return std::make_unique<ChildProcess>(
        words, ProcessOptions{.folder = home_.Tree().string(), .environment = Variables()});
}

void WindowsPc::StartActiveSync() {
    activeSync_ = Start({WindowsFolder() + "/wcescomm.exe"});
    activeSync_->ExpectLine("COM1: held");
    activeSync_->ExpectLine("ready");
}

fs::path WindowsPc::SystemFolder() const {
    const fs::path windows = home_.Path("prefix") / "drive_c" / "windows";
    return windows / (fs::exists(windows / "syswow64" / "rapi.dll") ? "syswow64" : "system32");
}

void WindowsPc::AddDriverlessUsbPort() const {
    fs::create_symlink("/dev/null", home_.Path("prefix") / "dosdevices" / "wceusbsh001");
}

std::string WindowsPc::UserKey(const std::string& key) const {
    std::string name = key, values;
    for (std::size_t at = 0; (at = name.find('\\', at)) != std::string::npos; at += 2)
        name.insert(at, 1, '\\');
    std::istringstream lines(ReadBytes(home_.Path("prefix") / "user.reg"));
    bool isIn = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('['))
            isIn = line.starts_with("[" + name + "]");
        else if (isIn)
            values += line + "\n";
    }
    return values;
}

WindowsRun::WindowsRun(const WindowsPc& pc)
    : user_(pc.Start({WindowsFolder() + "/page-user.exe", WindowsFolder() + "/rom-wizard.exe"})) {}

void WindowsRun::ExpectPage(int page) {
    using namespace pages;
    static const std::set<int> passing = {BusyPage, PreparePage, ProgressPage, BackupPage};
    int next = 0;
    do {
        const std::string line = user_->ExpectLine(
            [](const std::string& text) { return text.starts_with("== "); }, "that opens a page");
        next = std::atoi(line.c_str() + 3); // 0 for a file dialog's
    } while (passing.contains(next));
    if (next != page)
        throw std::runtime_error("instead of page " + std::to_string(page) + " came " +
                                 std::to_string(next) + " in:\n" + user_->Transcript());
}

int WindowsRun::Wait() {
    const int code = user_->Wait();
    // A port that is closed ends the wait for its events, as it is meant to; and the task bar may
    // be asked for before Wine's services are up.
    const auto isFault = [](const std::string& line) {
        const auto has = [&line](const char* text) { return line.find(text) != line.npos; };
        return line.starts_with("page-user: ") ||
               (has(":err:") && !has("comm:stop_waiting") && !has("ole:start_rpcss"));
    };
    if (std::ranges::any_of(user_->Lines(), isFault))
        throw std::runtime_error("a fault in:\n" + user_->Transcript());
    return code;
}

void WindowsRun::Answer(int page, const std::string& line) {
    ExpectPage(page);
    Send(line);
}

} // namespace test_support
