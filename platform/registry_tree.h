// The registry in memory: keys with their values in the order of their making.
#pragma once

#include <windef.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// Comment lines of a hand-edited file, without line ends; they stay with what they stand above.
using RegistryComments = std::vector<std::string>;

struct RegistryValue {
    std::u16string name; // empty: the key's default value
    DWORD type = 0;
    std::string data; // bytes as stored; of the text types they are UTF-16 in little endian
    RegistryComments comments;
};

struct RegistryKey {
    std::u16string name;
    std::vector<RegistryValue> values;
    std::vector<std::unique_ptr<RegistryKey>> subKeys;
    RegistryComments comments;

    RegistryKey* FindSubKey(std::u16string_view subKey) const;
    RegistryValue* FindValue(std::u16string_view value);
    const RegistryValue* FindValue(std::u16string_view value) const;
};

// Names from a root to a key. The roots are the sub-keys of the tree's nameless top.
using RegistryPath = std::vector<std::u16string>;

struct RegistryTree {
    RegistryKey top;
    RegistryComments comments; // at the end of the file

    RegistryKey* Find(const RegistryPath& path);
    // Makes what is missing; `made` tells whether the key itself was.
    RegistryKey& Make(const RegistryPath& path, bool& made);
    // With all below it. False where there is none.
    bool Delete(const RegistryPath& path);
};

// Splits at backslashes; one at the end adds nothing. False for a path that no key can have:
// an empty or too long name, a control character, "]" before ";", too many parts.
bool SplitRegistryPath(std::u16string_view text, RegistryPath& path);

// Whether a value can have the name.
bool IsRegistryValueName(std::u16string_view name);

bool IsRegistryText(DWORD type);

} // namespace platform
