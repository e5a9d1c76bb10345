// ShellExecuteExA: the named program if the host has it, else the document with the desktop's own
// opener. A host seldom has the program of that name, and the user wants to see the document.
//
// The program gets its arguments one by one and in the host's letters: a folder's name may hold
// quotation marks, and letters that a command line of Windows cannot hold.

#include "platform/base/text.h"
#include "platform/files/paths.h"
#include "platform/processes/command_line.h"
#include "platform/processes/processes.h"

#include <windows.h>

#include <shellapi.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr std::uintptr_t Succeeded = 33; // any number above 32
constexpr std::uintptr_t FileNotFound = 2;
constexpr char Opener[] = "xdg-open";

bool IsProgram(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored) && access(path.c_str(), X_OK) == 0;
}

// The program in PATH; empty when there is none. An entry that starts at the current folder counts
// for nothing: there a tree that came from elsewhere could bring programs along.
std::string FindInPath(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (fs::path(folder).is_absolute() && IsProgram(fs::path(folder) / name))
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

// The words of the command line, in UTF-8, with the program's path first.
std::vector<std::string> CommandFor(const std::string& program, const char* parameters) {
    auto words = platform::SplitCommandLine("program " + std::string(parameters ? parameters : ""));
    std::transform(words.begin(), words.end(), words.begin(), platform::Utf8FromAnsi);
    words.front() = program;
    return words;
}

bool Start(const std::vector<std::string>& command, SHELLEXECUTEINFOA& info) {
    platform::ProgramStart start{command.front(), command, {}};
    if (info.lpDirectory && *info.lpDirectory) {
        start.directory = platform::HostPath(info.lpDirectory);
        if (start.directory.empty())
            return false;
    }
    const auto process = platform::StartProgram(start);
    if (process && (info.fMask & SEE_MASK_NOCLOSEPROCESS))
        info.hProcess = platform::AddHandle(process);
    return process != nullptr;
}

bool Execute(SHELLEXECUTEINFOA& info) {
    if (std::string program = FindProgram(info.lpFile); !program.empty())
        return Start(CommandFor(program, info.lpParameters), info);
    std::string opener = FindInPath(Opener), document = FindDocument(info);
    return !opener.empty() && !document.empty() && Start({opener, document}, info);
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
