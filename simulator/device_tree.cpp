// The file system of the handheld: names, attributes, and what changes the tree.

#include "simulator/arguments.h"
#include "simulator/device_files.h"

#include "platform/text.h"

#include <algorithm>
#include <sstream>

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

std::uint32_t DeviceFiles::Locate(std::u16string_view path, HostPlace& place) const {
    const auto components = SplitDevicePath(path);
    if (!components || components->empty())
        return error::InvalidName;
    place = FindPlace(root_, *components);
    return place.parentExists ? error::Success : error::PathNotFound;
}

std::uint32_t DeviceFiles::LocateRemovable(std::u16string_view path, HostPlace& place) const {
    if (const std::uint32_t failure = Locate(path, place))
        return failure;
    if (!place.exists)
        return error::FileNotFound;
    if (AttributesOf(place.path) & AttributeReadOnly)
        return error::AccessDenied;
    return IsOpen(place.path) ? error::SharingViolation : error::Success;
}

bool DeviceFiles::IsOpen(const std::filesystem::path& place) const {
    return std::ranges::any_of(files_,
                               [&](const auto& entry) { return entry.second.place == place; });
}

std::uint32_t DeviceFiles::Delete(std::u16string_view path) {
    HostPlace place;
    if (const std::uint32_t failure = LocateRemovable(path, place))
        return failure;
    if (place.isFolder)
        return error::AccessDenied;
    std::error_code failed;
    if (!std::filesystem::remove(place.path, failed))
        return error::AccessDenied;
    if (attributes_.erase(AttributeKey(place.path)) != 0)
        SaveAttributes();
    return error::Success;
}

std::uint32_t DeviceFiles::Move(std::u16string_view from, std::u16string_view to) {
    HostPlace source, target;
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
    HostPlace source, target;
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
    if (MayOpen(source, ReadAccess, ShareRead, OpenExisting) != error::Success ||
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
    HostPlace place;
    if (const std::uint32_t failure = Locate(path, place))
        return failure;
    if (place.exists)
        return error::AlreadyExists;
    std::error_code failed;
    std::filesystem::create_directory(place.path, failed);
    return failed ? error::AccessDenied : error::Success;
}

std::uint32_t DeviceFiles::RemoveFolder(std::u16string_view path) {
    HostPlace place;
    if (const std::uint32_t failure = Locate(path, place))
        return failure;
    if (!place.exists)
        return error::FileNotFound;
    if (!place.isFolder)
        return error::AccessDenied;
    std::error_code failed;
    if (!std::filesystem::is_empty(place.path, failed))
        return error::DirectoryNotEmpty;
    if (!std::filesystem::remove(place.path, failed))
        return error::AccessDenied;
    if (attributes_.erase(AttributeKey(place.path)) != 0)
        SaveAttributes();
    return error::Success;
}

std::optional<Bytes> DeviceFiles::Load(std::u16string_view path) const {
    HostPlace place;
    if (Locate(path, place) != error::Success || !place.exists || place.isFolder)
        return std::nullopt;
    return ReadBytes(place.path);
}

bool DeviceFiles::Store(std::u16string_view path, std::span<const std::uint8_t> content) {
    HostPlace place;
    if (Locate(path, place) != error::Success || place.isFolder)
        return false;
    WriteWhole(place.path, content);
    return true;
}

bool DeviceFiles::Exists(std::u16string_view path) const {
    HostPlace place;
    return Locate(path, place) == error::Success && place.exists;
}

std::string DeviceFiles::AttributeKey(const std::filesystem::path& place) const {
    return place.lexically_relative(root_).string();
}

std::uint32_t DeviceFiles::AttributesOf(const std::filesystem::path& place) const {
    if (const auto found = attributes_.find(AttributeKey(place)); found != attributes_.end())
        return found->second;
    return std::filesystem::is_directory(place) ? AttributeFolder : AttributeArchive;
}

void DeviceFiles::SetAttributes(const std::filesystem::path& place, std::uint32_t attributes) {
    if (AttributesOf(place) == attributes)
        return;
    attributes_[AttributeKey(place)] = attributes;
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
