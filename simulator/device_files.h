// The file system of the handheld, in a folder of the host.
//
// Calls take the device's paths and give its error codes, as Windows CE would: share modes count,
// a file that is open is neither deleted nor moved, one that is read-only is neither written nor
// deleted. Files may also be put into the folder from outside, at any time.
#pragma once

#include "simulator/device_errors.h"
#include "simulator/device_paths.h"

#include <map>

namespace simulator {

constexpr std::uint32_t ReadAccess = 0x80000000;
constexpr std::uint32_t WriteAccess = 0x40000000;

constexpr std::uint32_t ShareRead = 1;
constexpr std::uint32_t ShareWrite = 2;

constexpr std::uint32_t AttributeReadOnly = 1;
constexpr std::uint32_t AttributeFolder = 16;
constexpr std::uint32_t AttributeArchive = 32;

enum Disposition : std::uint32_t {
    CreateNew = 1,
    CreateAlways = 2,
    OpenExisting = 3,
    OpenAlways = 4,
    TruncateExisting = 5,
};

// The device's last error, 0 for success, and a handle or a size where the call gives one.
struct Outcome {
    std::uint32_t error = error::Success;
    std::uint32_t value = 0;
};

struct FoundFile {
    std::uint32_t attributes = 0;
    std::u16string name;
};

class DeviceFiles {
public:
    // `attributes` is the side file with those attributes that are not the usual ones.
    DeviceFiles(std::filesystem::path root, std::filesystem::path attributes);

    Outcome Open(std::u16string_view path, std::uint32_t access, std::uint32_t share,
                 std::uint32_t disposition, std::uint32_t attributes); // value: handle
    std::uint32_t Read(std::uint32_t handle, std::uint32_t count, Bytes& data);
    Outcome Write(std::uint32_t handle, std::span<const std::uint8_t> data); // value: count
    Outcome Size(std::uint32_t handle);                                      // value: bytes
    // Of a file or of a search.
    std::uint32_t Close(std::uint32_t handle);
    // For messages: the path with which a handle was opened, or "handle 17".
    std::string Describe(std::uint32_t handle) const;

    std::uint32_t Delete(std::u16string_view path);
    std::uint32_t Move(std::u16string_view from, std::u16string_view to);
    std::uint32_t Copy(std::u16string_view from, std::u16string_view to, bool failIfExists);
    std::uint32_t MakeFolder(std::u16string_view path);
    std::uint32_t RemoveFolder(std::u16string_view path);

    // Names in the last component of `pattern` may have wildcards. The list is made at once and is
    // in the order of folded names. value: handle
    Outcome FindFirst(std::u16string_view pattern, FoundFile& found);
    std::uint32_t FindNext(std::uint32_t handle, FoundFile& found);

    // For programs on the device: whole files, without regard to who has them open.
    std::optional<Bytes> Load(std::u16string_view path) const;
    bool Store(std::u16string_view path, std::span<const std::uint8_t> content);

private:
    struct OpenFile {
        Descriptor file;
        std::filesystem::path path; // on the host
        std::string name;
        std::uint32_t access, share;
    };
    struct Search {
        std::vector<FoundFile> found;
        std::size_t next;
        std::string name;
    };

    // Where the path is on the host; an error where it is not allowed or its folder is not there.
    std::uint32_t Locate(std::u16string_view path, HostEntry& entry) const;
    // The same for a file that is to be deleted or moved; an error where that is not allowed.
    std::uint32_t LocateRemovable(std::u16string_view path, HostEntry& entry) const;
    // The error of opening the file so, 0 where it may be.
    std::uint32_t CheckOpen(const HostEntry& entry, std::uint32_t access, std::uint32_t share,
                            std::uint32_t disposition) const;
    bool IsOpen(const std::filesystem::path& path) const;

    std::string AttributeKey(const std::filesystem::path& path) const;
    std::uint32_t AttributesOf(const std::filesystem::path& path) const;
    void SetAttributes(const std::filesystem::path& path, std::uint32_t attributes);
    void MoveAttributes(const std::filesystem::path& from, const std::filesystem::path& to);
    void SaveAttributes() const;

    std::filesystem::path root_;
    std::filesystem::path attributesFile_;
    std::map<std::string, std::uint32_t> attributes_; // by path below the root
    std::map<std::uint32_t, OpenFile> files_;
    std::map<std::uint32_t, Search> searches_;
    std::uint32_t lastHandle_ = 0x100;
};

} // namespace simulator
