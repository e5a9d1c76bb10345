// The connection manager of the cradle, which stands for ActiveSync on the PC.
//
// It registers itself where the wizard looks, opens the two windows by which it is found, holds the
// serial port as long as it lives, and carries RAPI between the PC's programs and the handheld. It
// is meant to be ended from outside at any instant, without a chance to tidy up: the next one takes
// over what is left.

#include <windows.h>

#include "simulator/arguments.h"
#include "simulator/local_socket.h"
#include "simulator/registration.h"

#include "platform/base/home.h"
#include "platform/files/paths.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace registration;
using simulator::Descriptor;
using simulator::Failure;

constexpr std::size_t RelayBufferSize = 0x10000;

struct Versions {
    DWORD major = MajorVersion, minor = MinorVersion;
};

std::string PidFileName() { return platform::HomePath("connection-manager.pid"); }

// Locked for the life of the process. The file is empty until all is there: who reads a number in
// it may go on to look for the windows.
Descriptor LockPidFile() {
    Descriptor file = simulator::OpenHost(PidFileName(), O_RDWR | O_CREAT, 0600);
    if (flock(file.Number(), LOCK_EX | LOCK_NB) != 0)
        throw Failure("start: another connection manager runs");
    if (ftruncate(file.Number(), 0) != 0)
        simulator::FailOn("write", PidFileName());
    return file;
}

// For whoever wants to end this process.
void WriteNumber(const Descriptor& pidFile) {
    const std::string number = std::to_string(getpid()) + "\n";
    simulator::WriteAt(pidFile, 0,
                       {reinterpret_cast<const std::uint8_t*>(number.data()), number.size()},
                       PidFileName());
}

// An open key of the PC's registry, made where it is not there. Its calls throw a Failure.
class RegistryKey {
public:
    explicit RegistryKey(const char* path) {
        const LONG error = RegCreateKeyExA(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_WRITE,
                                           nullptr, &key_, nullptr);
        if (error != ERROR_SUCCESS)
            throw Failure(std::string("make registry key ") + path + ": error " +
                          std::to_string(error));
    }
    ~RegistryKey() { RegCloseKey(key_); }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    void SetValue(const char* name, DWORD type, const void* data, std::size_t size) const {
        const LONG error = RegSetValueExA(key_, name, 0, type, static_cast<const BYTE*>(data),
                                          static_cast<DWORD>(size));
        if (error != ERROR_SUCCESS)
            throw Failure(std::string("write registry value ") + name + ": error " +
                          std::to_string(error));
    }

private:
    HKEY key_ = nullptr;
};

void Register(const Versions& versions) {
    const RegistryKey settings(SettingsKey);
    settings.SetValue("MajorVersion", REG_DWORD, &versions.major, sizeof(DWORD));
    settings.SetValue("MinorVersion", REG_DWORD, &versions.minor, sizeof(DWORD));
    settings.SetValue("SerialPort", REG_SZ, SerialPort, sizeof(SerialPort));
    const std::string program =
        platform::WindowsPath(std::filesystem::read_symlink("/proc/self/exe").string());
    RegistryKey(ProgramKey).SetValue("", REG_SZ, program.c_str(), program.size() + 1);
}

// Open as long as this process lives. Another program that has the port keeps it. Without a cradle
// on it the port is left alone: it may be a real one of the machine.
void HoldSerialPort() {
    if (!std::filesystem::exists(platform::HomePath("ports/COM1"))) {
        std::printf("%s: no cradle\n", SerialPort);
        return;
    }
    const HANDLE port = CreateFileA(SerialPortPath, GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    if (port == INVALID_HANDLE_VALUE)
        std::printf("%s: not free, error %u\n", SerialPort, static_cast<unsigned>(GetLastError()));
}

// Sends on what can be read now; false at the end of either side.
bool RelayOnce(int from, int to) {
    char bytes[RelayBufferSize];
    const ssize_t count = read(from, bytes, sizeof(bytes));
    for (ssize_t sent = 0; sent < count;) {
        const ssize_t part =
            send(to, bytes + sent, static_cast<std::size_t>(count - sent), MSG_NOSIGNAL);
        if (part <= 0)
            return false;
        sent += part;
    }
    return count > 0 || (count < 0 && errno == EINTR);
}

// Relays between one program and the handheld, until either is gone. A program that reads no
// answers blocks this thread, which is its own.
void Relay(Descriptor client) {
    const Descriptor handheld = simulator::ConnectTo(platform::HomePath("cradle.sock"));
    std::printf(handheld ? "client: connected\n" : "client: no handheld answers\n");
    bool open{handheld};
    while (open) {
        pollfd ends[] = {{client.Number(), POLLIN, 0}, {handheld.Number(), POLLIN, 0}};
        if (poll(ends, 2, -1) < 0 && errno != EINTR)
            break;
        if (ends[0].revents != 0)
            open = RelayOnce(client.Number(), handheld.Number());
        if (open && ends[1].revents != 0)
            open = RelayOnce(handheld.Number(), client.Number());
    }
}

// One thread for each program, and one that waits for them. None is ever joined: the process ends
// from outside.
void Serve(const Descriptor& listener) {
    for (;;) {
        Descriptor client(accept4(listener.Number(), nullptr, nullptr, SOCK_CLOEXEC));
        if (client)
            std::thread(Relay, std::move(client)).detach();
        else if (errno != EINTR && errno != ECONNABORTED)
            std::this_thread::sleep_for(std::chrono::milliseconds(100)); // out of descriptors
    }
}

void OpenWindows() {
    WNDCLASSEXA windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = DefWindowProcA;
    windowClass.lpszClassName = WindowClass;
    RegisterClassExA(&windowClass);
    for (const char* title : WindowTitles) {
        if (!CreateWindowExA(0, WindowClass, title, 0, 0, 0, 0, 0, nullptr, nullptr, nullptr,
                             nullptr))
            throw Failure(std::string("open window ") + title + ": error " +
                          std::to_string(GetLastError()));
    }
}

const simulator::OptionRow Options[] = {{"--major", "N", "of the version that it registers (3)"},
                                        {"--minor", "N", "likewise (5)"}};

std::string Usage() {
    return "usage: connection-manager [options]\n" + simulator::UsageOf(Options);
}

Versions ParseVersions(std::span<const std::string> words) {
    const simulator::Arguments arguments = simulator::ParseArguments(words, Options, 0);
    const Versions usual;
    return {simulator::ParseNumber32(arguments.Get("--major", std::to_string(usual.major))),
            simulator::ParseNumber32(arguments.Get("--minor", std::to_string(usual.minor)))};
}

int RunManager(std::span<const std::string> words) {
    const Versions versions = ParseVersions(words);
    const Descriptor pidFile = LockPidFile();
    Register(versions);
    HoldSerialPort();
    OpenWindows();
    std::thread(Serve, simulator::ListenAt(platform::HomePath("rapi.sock"), 0)).detach();
    WriteNumber(pidFile);
    std::printf("ready\n");
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0)
        DispatchMessageA(&message);
    return 0;
}

} // namespace

int main(int count, char** words) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // every line at once, also into a pipe
    std::signal(SIGPIPE, SIG_IGN);            // it outlives whoever started it and reads its lines
    return simulator::RunProgram("connection-manager",
                                 std::vector<std::string>(words + 1, words + count), Usage,
                                 RunManager);
}
