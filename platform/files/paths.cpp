// Translates Windows paths to those of the host's file system, and back.
//
// Different names of the host can be one name of Windows: letters outside Windows-1252 all become
// '?', and case does not count. What is opened here may be flashed, so a name that fits more than
// one entry means none of them, and a path that leaves here has a number in place of such a name.
// ".." is resolved in the text, as Windows does, so that it works behind a folder that does not
// exist.

#include "platform/files/paths.h"

#include "platform/base/text.h"

#include <winbase.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr char Drive = 'Z';

bool IsSeparator(char character) { return character == '\\' || character == '/'; }

bool Exists(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

std::string Joined(const std::string& folder, const std::string& name) {
    return folder == "/" ? folder + name : folder + "/" + name;
}

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};

// "?" and a hash (FNV-1a, 32 bits) of the entry's name, as no file of Windows can be called.
std::string NumberedName(std::string_view hostName) {
    std::uint32_t hash = 0x811C9DC5;
    for (const char byte : hostName)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x01000193;
    char name[sizeof("?01234567")];
    std::snprintf(name, sizeof(name), "?%08X", static_cast<unsigned>(hash));
    return name;
}

// What leads back to this entry, whatever lies beside it.
std::string NameInPath(std::string_view hostName) {
    const std::string ansi = AnsiName(hostName);
    const bool unmistakable =
        Utf8FromAnsi(ansi) == hostName && ansi.find_first_of("?\\") == std::string::npos;
    return unmistakable ? ansi : NumberedName(hostName);
}

// The entries that bear just this name, in a listing or in a path; where there are none, those
// whose names differ in case only.
std::vector<std::string> FindEntries(const std::string& folder, const std::string& ansiName) {
    const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(folder.c_str()));
    std::vector<std::string> same, otherCase;
    while (const dirent* entry = directory ? readdir(directory.get()) : nullptr) {
        const std::string name = entry->d_name, ansi = AnsiName(name);
        if (name == "." || name == "..")
            continue; // their numbers would lead out of the folder
        if (ansi == ansiName || NumberedName(name) == ansiName)
            same.push_back(name);
        else if (CompareAnsiNoCase(ansi, ansiName) == 0)
            otherCase.push_back(name);
    }
    return same.empty() ? otherCase : same;
}

// The entry that is written just so, unless it holds a '?', which stands for many letters; else the
// only one that fits. Empty where what is written exists and is not the only one.
std::string Resolve(const std::string& folder, const std::string& ansiName) {
    std::string written = Joined(folder, Utf8FromAnsi(ansiName));
    if (ansiName.find('?') == std::string::npos && Exists(written))
        return written;
    const auto entries = FindEntries(folder, ansiName);
    if (entries.size() == 1)
        return Joined(folder, entries.front());
    return entries.empty() || !Exists(written) ? written : std::string();
}

std::string CurrentFolder() {
    std::error_code error;
    return std::filesystem::current_path(error).string();
}

// A path split into the folder of the host where it starts and the parts below.
struct SplitPath {
    std::string start;
    std::vector<std::string> parts;

    void Add(const std::string& part) {
        if (part.empty() || part == ".")
            return;
        if (part != "..")
            parts.push_back(part);
        else if (!parts.empty())
            parts.pop_back();
        else
            start = std::filesystem::path(start).parent_path().string();
    }
};

// Removes a drive at the front; false for one that does not exist here.
bool StripDrive(std::string_view& path) {
    if (path.size() < 2 || path[1] != ':')
        return true;
    if (FoldAnsi(path[0]) != Drive)
        return false;
    path.remove_prefix(2);
    return true;
}

SplitPath Split(std::string_view path) {
    SplitPath split;
    split.start = !path.empty() && IsSeparator(path[0]) ? "/" : CurrentFolder();
    std::string part;
    for (const char character : path) {
        if (!IsSeparator(character)) {
            part += character;
            continue;
        }
        split.Add(part);
        part.clear();
    }
    split.Add(part);
    return split;
}

} // namespace

std::string HostPath(std::string_view windowsPath) {
    const bool network =
        windowsPath.size() > 1 && IsSeparator(windowsPath[0]) && IsSeparator(windowsPath[1]);
    const bool terminated = windowsPath.find('\0') != std::string_view::npos;
    if (windowsPath.empty() || network || terminated || !StripDrive(windowsPath))
        return {};
    const SplitPath split = Split(windowsPath);
    std::string path = split.start;
    for (auto part = split.parts.begin(); part != split.parts.end() && !path.empty(); ++part)
        path = Resolve(path, *part);
    return path;
}

std::string WindowsPath(std::string_view hostPath) {
    std::string path{Drive, ':'};
    std::string part;
    const auto add = [&path, &part] {
        if (!part.empty())
            path += "\\" + NameInPath(part);
        part.clear();
    };
    for (const char character : hostPath) {
        if (character == '/')
            add();
        else
            part += character;
    }
    add();
    return path.size() == 2 ? path + "\\" : path;
}

std::string AnsiName(std::string_view hostName) {
    return IsUtf8(hostName) ? AnsiFromUtf8(hostName) : std::string(hostName);
}

unsigned MissingNameError(const std::string& hostPath) {
    const auto folder = std::filesystem::path(hostPath).parent_path();
    std::error_code error;
    return std::filesystem::is_directory(folder, error) ? ERROR_FILE_NOT_FOUND
                                                        : ERROR_PATH_NOT_FOUND;
}

} // namespace platform
