// The file system of the handheld: names, attributes, and what changes the tree.

#include "simulator/arguments.h"
#include "simulator/device_errors.h"
#include "simulator/device_files.h"
#include "simulator/device_paths.h"

#include "platform/base/text.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <utility>

namespace simulator {

DeviceFiles::DeviceFiles(std::filesystem::path root, std::filesystem::path attributes)
    : root_(std::move(root)), attributesFile_(std::move(attributes)) {
    std::istringstream lines(ReadWhole(attributesFile_).value_or(""));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t blank = line.find(' ');
        if (blank != std::string::npos)
            attributes_[line.substr(blank + 1)] = ParseNumber32(line.substr(0, blank));
    }
}

std::uint32_t DeviceFiles::Locate(std::u16string_view path, HostEntry& entry) const {
    const auto components = SplitDevicePath(path);
    if (!components || components->empty())
        return error::InvalidName;
    entry = FindHostEntry(root_, *components);
    return entry.parentExists ? error::Success : error::PathNotFound;
}

std::uint32_t DeviceFiles::LocateRemovable(std::u16string_view path, HostEntry& entry) const {
    if (const std::uint32_t failure = Locate(path, entry))
        return failure;
    if (!entry.exists)
        return error::FileNotFound;
    if (AttributesOf(entry.path) & AttributeReadOnly)
        return error::AccessDenied;
    return IsOpen(entry.path) ? error::SharingViolation : error::Success;
}

bool DeviceFiles::IsOpen(const std::filesystem::path& path) const {
    return std::ranges::any_of(files_, [&](const auto& open) { return open.second.path == path; });
}

std::uint32_t DeviceFiles::Delete(std::u16string_view path) {
    HostEntry entry;
    if (const std::uint32_t failure = LocateRemovable(path, entry))
        return failure;
    if (entry.isFolder)
        return error::AccessDenied;
    std::error_code failed;
    if (!std::filesystem::remove(entry.path, failed))
        return error::AccessDenied;
    if (attributes_.erase(AttributeKey(entry.path)) != 0)
        SaveAttributes();
    return error::Success;
}

std::uint32_t DeviceFiles::Move(std::u16string_view from, std::u16string_view to) {
    HostEntry source, target;
    if (const std::uint32_t failure = LocateRemovable(from, source))
        return failure;
    if (const std::uint32_t failure = Locate(to, target))
        return failure;
    // A new case of the same name is no other file.
    if (target.exists && target.path != source.path)
        return error::AlreadyExists;
    std::error_code failed;
    const auto fresh = target.path.parent_path() / platform::Utf8FromUtf16(SplitLast(to).second);
    std::filesystem::rename(source.path, fresh, failed);
    if (failed)
        return error::AccessDenied;
    MoveAttributes(source.path, fresh);
    return error::Success;
}

std::uint32_t DeviceFiles::Copy(std::u16string_view from, std::u16string_view to,
                                bool failIfExists) {
    HostEntry source, target;
    if (const std::uint32_t failure = Locate(from, source))
        return failure;
    if (const std::uint32_t failure = Locate(to, target))
        return failure;
    if (!source.exists)
        return error::FileNotFound;
    if (target.exists && failIfExists)
        return error::FileExists;
    if (source.isFolder || target.isFolder || target.path == source.path ||
        (target.exists && (AttributesOf(target.path) & AttributeReadOnly)))
        return error::AccessDenied;
    if (CheckOpen(source, ReadAccess, ShareRead, OpenExisting) != error::Success ||
        (target.exists && IsOpen(target.path)))
        return error::SharingViolation;
    std::error_code failed;
    std::filesystem::copy_file(source.path, target.path,
                               std::filesystem::copy_options::overwrite_existing, failed);
    if (failed)
        return error::AccessDenied;
    SetAttributes(target.path, AttributesOf(source.path));
    return error::Success;
}

std::uint32_t DeviceFiles::MakeFolder(std::u16string_view path) {
    HostEntry entry;
    if (const std::uint32_t failure = Locate(path, entry))
        return failure;
    if (entry.exists)
        return error::AlreadyExists;
    std::error_code failed;
    std::filesystem::create_directory(entry.path, failed);
    return failed ? error::AccessDenied : error::Success;
}

std::uint32_t DeviceFiles::RemoveFolder(std::u16string_view path) {
    HostEntry entry;
    if (const std::uint32_t failure = Locate(path, entry))
        return failure;
    if (!entry.exists)
        return error::FileNotFound;
    if (!entry.isFolder)
        return error::AccessDenied;
    std::error_code failed;
    if (!std::filesystem::is_empty(entry.path, failed))
        return error::DirectoryNotEmpty;
    if (!std::filesystem::remove(entry.path, failed))
        return error::AccessDenied;
    if (attributes_.erase(AttributeKey(entry.path)) != 0)
        SaveAttributes();
    return error::Success;
}

std::optional<Bytes> DeviceFiles::Load(std::u16string_view path) const {
    HostEntry entry;
    if (Locate(path, entry) != error::Success || !entry.exists || entry.isFolder)
        return std::nullopt;
    return ReadBytes(entry.path);
}

bool DeviceFiles::Store(std::u16string_view path, std::span<const std::uint8_t> content) {
    HostEntry entry;
    if (Locate(path, entry) != error::Success || entry.isFolder)
        return false;
    WriteWhole(entry.path, content);
    return true;
}

std::string DeviceFiles::AttributeKey(const std::filesystem::path& path) const {
    return path.lexically_relative(root_).string();
}

std::uint32_t DeviceFiles::AttributesOf(const std::filesystem::path& path) const {
    if (const auto found = attributes_.find(AttributeKey(path)); found != attributes_.end())
        return found->second;
    return std::filesystem::is_directory(path) ? AttributeFolder : AttributeArchive;
}

void DeviceFiles::SetAttributes(const std::filesystem::path& path, std::uint32_t attributes) {
    if (AttributesOf(path) == attributes)
        return;
    attributes_[AttributeKey(path)] = attributes;
    SaveAttributes();
}

// Of a file, or of a folder with all that is in it.
void DeviceFiles::MoveAttributes(const std::filesystem::path& from,
                                 const std::filesystem::path& to) {
    const std::string oldKey = AttributeKey(from);
    std::map<std::string, std::uint32_t> moved;
    for (const auto& [key, attributes] : attributes_) {
        const bool inside = key == oldKey || key.starts_with(oldKey + "/");
        moved[inside ? AttributeKey(to) + key.substr(oldKey.size()) : key] = attributes;
    }
    if (moved == attributes_)
        return;
    attributes_ = std::move(moved);
    SaveAttributes();
}

void DeviceFiles::SaveAttributes() const {
    std::ostringstream lines;
    for (const auto& [key, attributes] : attributes_)
        lines << Hex(attributes) << ' ' << key << '\n';
    WriteWhole(attributesFile_, lines.str());
}

} // namespace simulator
