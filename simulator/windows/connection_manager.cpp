// The connection manager of the cradle where the wizard runs on Windows, with the duties of
// simulator/connection_manager.cpp.
//
// It carries RAPI to the handheld over the port of 127.0.0.1 that ROM_WIZARD_CRADLE_PORT gives. It
// is meant to be ended from outside at any instant.

#include "simulator/registration.h"
#include "simulator/windows/handle.h"
#include "simulator/windows/loopback.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace {

using namespace registration;
using loopback::Socket;

[[noreturn]] void Fail(const std::string& what) {
    throw std::runtime_error(what + ": error " + std::to_string(GetLastError()));
}

std::uint16_t CradlePort() {
    const char* port = std::getenv("ROM_WIZARD_CRADLE_PORT");
    return static_cast<std::uint16_t>(port ? std::atoi(port) : 0);
}

void Set(const char* key, const char* name, DWORD type, const void* data, std::size_t size) {
    if (RegSetKeyValueA(HKEY_LOCAL_MACHINE, key, name, type, data, static_cast<DWORD>(size)) != 0)
        Fail(std::string("write registry value ") + name);
}

void SetNumber(const char* name, DWORD number) {
    Set(SettingsKey, name, REG_DWORD, &number, sizeof(number));
}

void Register() {
    SetNumber("MajorVersion", MajorVersion);
    SetNumber("MinorVersion", MinorVersion);
    Set(SettingsKey, "SerialPort", REG_SZ, SerialPort, sizeof(SerialPort));
    char program[MAX_PATH];
    const DWORD length = GetModuleFileNameA(nullptr, program, MAX_PATH);
    Set(ProgramKey, nullptr, REG_SZ, program, length + 1);
}

// Without it where another program has the port: that one keeps it.
Handle OpenSerialPort() {
    const HANDLE port = CreateFileA(SerialPortPath, GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    if (port != INVALID_HANDLE_VALUE)
        std::printf("COM1: held\n");
    else
        std::printf("COM1: not free, error %lu\n", GetLastError());
    return Handle(port == INVALID_HANDLE_VALUE ? nullptr : port);
}

void RelayOneWay(const Socket& from, const Socket& to) {
    char bytes[0x10000];
    for (;;) {
        const int count = recv(from.Get(), bytes, sizeof(bytes), 0);
        if (count <= 0 || !to.Send(bytes, static_cast<std::size_t>(count)))
            break;
    }
    shutdown(from.Get(), SD_BOTH);
    shutdown(to.Get(), SD_BOTH);
}

// Relays between one program and the handheld, until either is gone.
void Relay(Socket client) {
    const Socket handheld = loopback::Connect(CradlePort());
    if (!handheld.IsOpen())
        return;
    std::thread back([&] { RelayOneWay(handheld, client); });
    RelayOneWay(client, handheld);
    back.join();
}

// A thread for each program. None is ever joined: the process ends from outside.
void Serve(const Socket& listener) {
    for (;;) {
        Socket client(accept(listener.Get(), nullptr, nullptr));
        if (client.IsOpen())
            std::thread(Relay, std::move(client)).detach();
        else
            Sleep(100); // out of sockets
    }
}

Socket Listen() {
    loopback::StartSockets();
    Socket listener(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    sockaddr_in address = loopback::Address(0); // any free port
    int size = sizeof(address);
    if (bind(listener.Get(), reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        listen(listener.Get(), SOMAXCONN) != 0 ||
        getsockname(listener.Get(), reinterpret_cast<sockaddr*>(&address), &size) != 0)
        Fail("listen");
    SetNumber(loopback::PortValue, ntohs(address.sin_port));
    return listener;
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
            Fail(std::string("open window ") + title);
    }
}

void Run() {
    Register();
    const Handle port = OpenSerialPort(); // as long as this process lives
    std::thread(Serve, Listen()).detach();
    OpenWindows();
    std::printf("ready\n");
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0)
        DispatchMessageA(&message);
}

} // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IONBF, 0); // the C library has no line buffering here
    try {
        Run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "wcescomm: %s\n", error.what());
        return 1;
    }
    return 0;
}
