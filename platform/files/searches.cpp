// Searches of a folder: FindFirstFileA, FindNextFileA, FindClose.
//
// The list is read whole at the first call: entries that are deleted while a caller walks the list,
// which is what callers do, cannot make it skip others.

#include "platform/base/errors.h"
#include "platform/base/text.h"
#include "platform/files/paths.h"
#include "platform/kernel/handles.h"

#include <winbase.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <dirent.h>
#include <sys/stat.h>

namespace platform {
namespace {

constexpr std::string_view Everything = "*.*";

bool Matches(std::string_view pattern, std::string_view name) {
    return pattern == Everything || CompareAnsiNoCase(pattern, name) == 0;
}

class Search : public Object {
public:
    explicit Search(std::vector<WIN32_FIND_DATAA> found) : found_(std::move(found)) {}
    bool ClosedByCloseHandle() const override { return false; }

    // Null at the end of the list. One search is used by one thread.
    const WIN32_FIND_DATAA* Next() { return next_ < found_.size() ? &found_[next_++] : nullptr; }

private:
    const std::vector<WIN32_FIND_DATAA> found_;
    std::size_t next_ = 0;
};

// The entry as Windows describes one; nothing where Windows cannot spell its name, and for devices,
// pipes and sockets. A link that leads nowhere is a file: its open fails where it is used.
std::optional<WIN32_FIND_DATAA> Describe(const std::string& folder, const std::string& hostName) {
    const std::string name = AnsiName(hostName);
    const std::string path = folder + "/" + hostName;
    WIN32_FIND_DATAA data{};
    struct stat status;
    const bool known = stat(path.c_str(), &status) == 0 || lstat(path.c_str(), &status) == 0;
    if (!known || name.size() >= sizeof(data.cFileName) || name.find('\\') != std::string::npos)
        return std::nullopt;
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode) && !S_ISLNK(status.st_mode))
        return std::nullopt;
    name.copy(data.cFileName, name.size());
    data.dwFileAttributes = FILE_ATTRIBUTE_ARCHIVE;
    if (S_ISDIR(status.st_mode)) {
        data.dwFileAttributes = FILE_ATTRIBUTE_DIRECTORY;
        return data;
    }
    const auto size = static_cast<ULONGLONG>(status.st_size);
    data.nFileSizeHigh = static_cast<DWORD>(size >> 32);
    data.nFileSizeLow = static_cast<DWORD>(size);
    return data;
}

bool ComesBefore(const WIN32_FIND_DATAA& one, const WIN32_FIND_DATAA& other) {
    const std::string_view first = one.cFileName;
    const std::string_view second = other.cFileName;
    const auto isFolderItself = [](std::string_view name) { return name == "." || name == ".."; };
    if (isFolderItself(first) != isFolderItself(second))
        return isFolderItself(first);
    const int order = CompareAnsiNoCase(first, second);
    return order != 0 ? order < 0 : first < second;
}

// Nothing where the folder cannot be read, with errno set.
std::optional<std::vector<WIN32_FIND_DATAA>> List(const std::string& folder,
                                                  std::string_view pattern) {
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(folder.c_str()), closedir);
    if (!directory)
        return std::nullopt;
    std::vector<WIN32_FIND_DATAA> found;
    while (const dirent* entry = readdir(directory.get())) {
        const std::string name = entry->d_name;
        const bool hidden = folder == "/" && (name == "." || name == "..");
        if (hidden || !Matches(pattern, AnsiName(name)))
            continue;
        if (const auto data = Describe(folder, name))
            found.push_back(*data);
    }
    std::sort(found.begin(), found.end(), ComesBefore);
    return found;
}

std::size_t LengthOfFolderPart(std::string_view pattern) {
    const auto separator = pattern.find_last_of("\\/:");
    return separator == std::string_view::npos ? 0 : separator + 1;
}

HANDLE Fail(DWORD error) {
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
}

} // namespace
} // namespace platform

using platform::FindHandleOf;
using platform::Search;

HANDLE WINAPI FindFirstFileA(LPCSTR text, LPWIN32_FIND_DATAA data) {
    const std::string_view pattern = text ? text : "";
    const auto split = platform::LengthOfFolderPart(pattern);
    const auto folder = platform::HostPath(split == 0 ? "." : pattern.substr(0, split));
    if (folder.empty())
        return platform::Fail(ERROR_PATH_NOT_FOUND);
    const auto name = pattern.substr(split);
    if (name.empty())
        return platform::Fail(ERROR_FILE_NOT_FOUND);
    if (name != platform::Everything && name.find_first_of("*?") != name.npos)
        return platform::Fail(ERROR_CALL_NOT_IMPLEMENTED);
    auto found = platform::List(folder, name);
    if (!found)
        return platform::Fail(errno == ENOENT ? DWORD{ERROR_PATH_NOT_FOUND}
                                              : platform::ErrorFromErrno(errno));
    if (found->empty())
        return platform::Fail(ERROR_FILE_NOT_FOUND);
    const auto search = std::make_shared<Search>(std::move(*found));
    *data = *search->Next();
    return platform::AddHandle(search);
}

BOOL WINAPI FindNextFileA(HANDLE handle, LPWIN32_FIND_DATAA data) {
    const auto search = FindHandleOf<Search>(handle);
    if (!search)
        return FALSE;
    const WIN32_FIND_DATAA* next = search->Next();
    if (!next) {
        SetLastError(ERROR_NO_MORE_FILES);
        return FALSE;
    }
    *data = *next;
    return TRUE;
}

BOOL WINAPI FindClose(HANDLE handle) {
    return FindHandleOf<Search>(handle) && platform::RemoveHandle(handle);
}
