// ShellExecuteExA: the named program if the host has it, else the document with the desktop's own
// opener. A host seldom has the program of that name, and the user wants to see the document.

#include "platform/paths.h"
#include "platform/text.h"

#include <windows.h>

#include <shellapi.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>

namespace {

namespace fs = std::filesystem;

constexpr std::uintptr_t Succeeded = 33; // any number above 32
constexpr std::uintptr_t FileNotFound = 2;
constexpr char Opener[] = "xdg-open";

bool IsProgram(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored) && access(path.c_str(), X_OK) == 0;
}

// The program in PATH; empty when there is none.
std::string FindInPath(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (!folder.empty() && IsProgram(fs::path(folder) / name))
            return fs::path(folder) / name;
    return {};
}

std::string FindProgram(const char* name) {
    if (std::string_view(name).find_first_of("\\/:") == std::string_view::npos)
        return FindInPath(platform::Utf8FromAnsi(name));
    std::string host = platform::HostPath(name);
    return IsProgram(host) ? host : std::string();
}

// The document, in the working directory that was asked for; empty when there is none.
std::string FindDocument(const SHELLEXECUTEINFOA& info) {
    std::string name = info.lpParameters && *info.lpParameters ? info.lpParameters : info.lpFile;
    bool isWhole = name.find(':') != std::string::npos || name[0] == '\\' || name[0] == '/';
    if (!isWhole && info.lpDirectory && *info.lpDirectory)
        name = std::string(info.lpDirectory) + "\\" + name;
    std::string host = platform::HostPath(name);
    std::error_code ignored;
    return fs::is_regular_file(host, ignored) ? fs::absolute(host).string() : std::string();
}

bool Start(const std::string& program, const std::string& arguments, SHELLEXECUTEINFOA& info) {
    std::string line = "\"" + platform::AnsiFromUtf8(program) + "\" " + arguments;
    std::string application = platform::WindowsPath(fs::absolute(program).string());
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(application.c_str(), line.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS,
                        nullptr, info.lpDirectory, &startup, &process))
        return false;
    CloseHandle(process.hThread);
    if (info.fMask & SEE_MASK_NOCLOSEPROCESS)
        info.hProcess = process.hProcess;
    else
        CloseHandle(process.hProcess);
    return true;
}

bool Execute(SHELLEXECUTEINFOA& info) {
    if (std::string program = FindProgram(info.lpFile); !program.empty())
        return Start(program, info.lpParameters ? info.lpParameters : "", info);
    std::string opener = FindInPath(Opener), document = FindDocument(info);
    if (opener.empty() || document.empty())
        return false;
    return Start(opener, "\"" + platform::AnsiFromUtf8(document) + "\"", info);
}

} // namespace

BOOL WINAPI ShellExecuteExA(SHELLEXECUTEINFOA* info) {
    if (!info || info->cbSize != sizeof(SHELLEXECUTEINFOA) || !info->lpFile || !*info->lpFile) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    info->hProcess = nullptr;
    bool done = Execute(*info);
    info->hInstApp = reinterpret_cast<HINSTANCE>(done ? Succeeded : FileNotFound);
    if (!done)
        SetLastError(ERROR_FILE_NOT_FOUND);
    return done ? TRUE : FALSE;
}
