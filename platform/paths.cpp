// Windows paths on the host's file system.
//
// Each part is looked up by its exact name first; only where that is missing is the folder read and
// searched without regard to case. ".." is taken back in the text, as Windows does, so that it
// works behind a folder that does not exist.

#include "platform/paths.h"

#include "platform/text.h"

#include <winbase.h>

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

// The entry whose name differs in case only, or is no exact UTF-8; of several the first in the
// order of bytes, so that the answer does not depend on the file system. Empty: none.
std::string FindEntry(const std::string& folder, const std::string& ansiName) {
    const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(folder.c_str()));
    std::string found;
    while (const dirent* entry = directory ? readdir(directory.get()) : nullptr) {
        const std::string name = entry->d_name;
        if (CompareAnsiNoCase(AnsiName(name), ansiName) == 0 && (found.empty() || name < found))
            found = name;
    }
    return found;
}

std::string Resolve(const std::string& folder, const std::string& ansiName) {
    const std::string exact = Joined(folder, Utf8FromAnsi(ansiName));
    if (Exists(exact))
        return exact;
    const std::string other = FindEntry(folder, ansiName);
    return other.empty() ? exact : Joined(folder, other);
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

// Takes a drive off the front; false for one that does not exist here.
bool TakeDrive(std::string_view& path) {
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
    if (windowsPath.empty() || network || terminated || !TakeDrive(windowsPath))
        return {};
    const SplitPath split = Split(windowsPath);
    std::string path = split.start;
    for (const auto& part : split.parts)
        path = Resolve(path, part);
    return path;
}

std::string WindowsPath(std::string_view hostPath) {
    std::string path{Drive, ':'};
    std::string part;
    const auto add = [&path, &part] {
        if (!part.empty())
            path += "\\" + AnsiName(part);
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
