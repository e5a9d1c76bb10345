// The file system of the handheld: open files, their reads and writes, and searches.

#include "simulator/device_files.h"

#include "platform/base/text.h"

#include <algorithm>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr std::uint32_t MaxReadSize = 0xC0000; // bytes; fits into one frame of the answer

bool Truncates(std::uint32_t disposition) {
    return disposition == CreateAlways || disposition == TruncateExisting;
}

bool NeedsExisting(std::uint32_t disposition) {
    return disposition == OpenExisting || disposition == TruncateExisting;
}

// One opening with `access` is compatible with another one that shares the file so.
bool SharingAllows(std::uint32_t access, std::uint32_t share) {
    return (!(access & ReadAccess) || (share & ShareRead)) &&
           (!(access & WriteAccess) || (share & ShareWrite));
}

} // namespace

std::uint32_t DeviceFiles::CheckOpen(const HostEntry& entry, std::uint32_t access,
                                     std::uint32_t share, std::uint32_t disposition) const {
    if (disposition < CreateNew || disposition > TruncateExisting)
        return error::InvalidParameter;
    if (!entry.exists)
        return NeedsExisting(disposition) ? error::FileNotFound : error::Success;
    if (disposition == CreateNew)
        return error::FileExists;
    const bool changes = Truncates(disposition) || (access & WriteAccess);
    if (entry.isFolder || (changes && (AttributesOf(entry.path) & AttributeReadOnly)))
        return error::AccessDenied;
    for (const auto& [handle, file] : files_) {
        if (file.path == entry.path &&
            !(SharingAllows(access, file.share) && SharingAllows(file.access, share)))
            return error::SharingViolation;
    }
    return error::Success;
}

Outcome DeviceFiles::Open(std::u16string_view path, std::uint32_t access, std::uint32_t share,
                          std::uint32_t disposition, std::uint32_t attributes) {
    HostEntry entry;
    if (const std::uint32_t failure = Locate(path, entry))
        return {failure, 0};
    if (const std::uint32_t failure = CheckOpen(entry, access, share, disposition))
        return {failure, 0};
    const bool changes = (access & WriteAccess) || Truncates(disposition);
    const int flags = (changes ? O_RDWR : O_RDONLY) | (entry.exists ? 0 : O_CREAT) |
                      (Truncates(disposition) ? O_TRUNC : 0);
    Descriptor file(open(entry.path.c_str(), flags | O_CLOEXEC, 0644));
    if (!file)
        return {error::AccessDenied, 0};
    if (!entry.exists || disposition == CreateAlways)
        SetAttributes(entry.path, (attributes & 7) | AttributeArchive);
    const std::string name = platform::Utf8FromUtf16(path);
    files_.emplace(++lastHandle_, OpenFile{std::move(file), entry.path, name, access, share});
    return {error::Success, lastHandle_};
}

std::uint32_t DeviceFiles::Read(std::uint32_t handle, std::uint32_t count, Bytes& data) {
    const auto found = files_.find(handle);
    if (found == files_.end())
        return error::InvalidHandle;
    if (!(found->second.access & ReadAccess))
        return error::AccessDenied;
    data.resize(std::min(count, MaxReadSize));
    const ssize_t done = read(found->second.file.Number(), data.data(), data.size());
    data.resize(done > 0 ? static_cast<std::size_t>(done) : 0);
    return done < 0 ? error::AccessDenied : error::Success;
}

Outcome DeviceFiles::Write(std::uint32_t handle, std::span<const std::uint8_t> data) {
    const auto found = files_.find(handle);
    if (found == files_.end())
        return {error::InvalidHandle, 0};
    if (!(found->second.access & WriteAccess))
        return {error::AccessDenied, 0};
    const ssize_t done = write(found->second.file.Number(), data.data(), data.size());
    if (done != static_cast<ssize_t>(data.size()))
        return {error::WriteFault, done > 0 ? static_cast<std::uint32_t>(done) : 0};
    return {error::Success, static_cast<std::uint32_t>(done)};
}

Outcome DeviceFiles::Size(std::uint32_t handle) {
    const auto found = files_.find(handle);
    struct stat status = {};
    if (found == files_.end() || fstat(found->second.file.Number(), &status) != 0)
        return {error::InvalidHandle, 0};
    return {error::Success, static_cast<std::uint32_t>(status.st_size)};
}

std::uint32_t DeviceFiles::Close(std::uint32_t handle) {
    return files_.erase(handle) + searches_.erase(handle) != 0 ? error::Success
                                                               : error::InvalidHandle;
}

std::string DeviceFiles::Describe(std::uint32_t handle) const {
    if (const auto file = files_.find(handle); file != files_.end())
        return file->second.name;
    if (const auto search = searches_.find(handle); search != searches_.end())
        return search->second.name;
    return "handle " + std::to_string(handle);
}

Outcome DeviceFiles::FindFirst(std::u16string_view pattern, FoundFile& found) {
    const auto [folder, name] = SplitLast(pattern);
    const auto components = SplitDevicePath(folder);
    if (!components)
        return {error::InvalidName, 0};
    const HostEntry parent = FindHostEntry(root_, *components);
    if (!parent.exists || !parent.isFolder)
        return {error::PathNotFound, 0};
    Search search{{}, 0, platform::Utf8FromUtf16(pattern)};
    for (const auto& entry : std::filesystem::directory_iterator(parent.path)) {
        std::u16string entryName = platform::Utf16FromUtf8(entry.path().filename().string());
        if (MatchesPattern(name, entryName))
            search.found.push_back({AttributesOf(entry.path()), std::move(entryName)});
    }
    std::ranges::sort(search.found, {}, [](const FoundFile& file) { return Fold(file.name); });
    if (search.found.empty())
        return {error::NoMoreFiles, 0};
    found = search.found[search.next++];
    searches_.emplace(++lastHandle_, std::move(search));
    return {error::Success, lastHandle_};
}

std::uint32_t DeviceFiles::FindNext(std::uint32_t handle, FoundFile& found) {
    const auto search = searches_.find(handle);
    if (search == searches_.end())
        return error::InvalidHandle;
    if (search->second.next == search->second.found.size())
        return error::NoMoreFiles;
    found = search->second.found[search->second.next++];
    return error::Success;
}

} // namespace simulator
