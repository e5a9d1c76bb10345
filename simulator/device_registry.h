// The registry of the handheld: HKEY_LOCAL_MACHINE in a text file.
//
// Keys and names keep their case and are found without regard to it; a key may be given with or
// without a leading backslash. Types, sizes and bytes of values are kept exactly. In the file a key
// is a line `[Drivers\NvnDisk]`, and a value below it `"WindowBase"=4:00 00 00 ae`: its type, and
// its bytes in hexadecimal. In names, `"` and `\` have a `\` in front.
#pragma once

#include "simulator/host_files.h"

#include <map>

namespace simulator {

struct RegistryValue {
    std::u16string name; // empty: the default value of the key
    std::uint32_t type = 0;
    Bytes data;
};

struct RegistryKey {
    std::u16string path;                            // without a leading backslash
    std::map<std::u16string, RegistryValue> values; // by folded name
};

class DeviceRegistry {
public:
    // A file that is not there is an empty registry; throws a Failure for one that cannot be read.
    explicit DeviceRegistry(std::filesystem::path file);

    // `root` is HKEY_LOCAL_MACHINE or an open key. All give the device's error code.
    std::uint32_t Open(std::uint32_t root, std::u16string_view path, std::uint32_t& key);
    std::uint32_t Create(std::uint32_t root, std::u16string_view path, std::uint32_t& key,
                         bool& made);
    std::uint32_t Close(std::uint32_t key);
    // Gives type and data; error 234 and the type alone where `capacity` bytes are too few.
    std::uint32_t Query(std::uint32_t key, std::u16string_view name, std::uint32_t capacity,
                        RegistryValue& value) const;
    std::uint32_t Set(std::uint32_t key, const RegistryValue& value);
    // With its values and all keys below.
    std::uint32_t Delete(std::uint32_t root, std::u16string_view path);

    // For messages: the path of an open key, or "key 17".
    std::string Describe(std::uint32_t key) const;
    const std::map<std::u16string, RegistryKey>& Keys() const { return keys_; }

private:
    std::optional<std::u16string> FullPath(std::uint32_t root, std::u16string_view path) const;
    void Add(const std::u16string& path);
    void Save() const;

    std::filesystem::path file_;
    std::map<std::u16string, RegistryKey> keys_;       // by folded path
    std::map<std::uint32_t, std::u16string> openKeys_; // to the folded path
    std::uint32_t lastKey_ = 0x1000;
};

} // namespace simulator
