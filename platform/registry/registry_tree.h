// The registry in memory: keys with their values in the order of their making.
#pragma once

#include "platform/base/text.h"

#include <windef.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace platform {

// Comment lines of a hand-edited file, without line ends; they stay with what they precede.
using RegistryComments = std::vector<std::string>;

// Values or sub-keys of a key, in the order of their making. Names match without regard to case,
// and one is found at once among any number: files with a million of them are read too.
template <class Entry>
class RegistryEntries {
public:
    // Null where there is none.
    Entry* Find(std::u16string_view name) const {
        const auto found = byName_.find(FoldName(name));
        return found == byName_.end() ? nullptr : found->second;
    }

    // The one of that name, made at the end where there is none. It stays where it is in memory.
    Entry& FindOrAdd(std::u16string_view name) {
        Entry*& entry = byName_[FoldName(name)];
        if (!entry) {
            entry = entries_.emplace_back(std::make_unique<Entry>()).get();
            entry->name = name;
        }
        return *entry;
    }

    // False where there is none.
    bool Delete(std::u16string_view name) {
        const auto found = byName_.find(FoldName(name));
        if (found == byName_.end())
            return false;
        std::erase_if(entries_, [&](const auto& entry) { return entry.get() == found->second; });
        byName_.erase(found);
        return true;
    }

    std::size_t Size() const { return byName_.size(); }

    // In order.
    const std::vector<std::unique_ptr<Entry>>& All() const { return entries_; }

private:
    std::vector<std::unique_ptr<Entry>> entries_;
    std::unordered_map<std::u16string, Entry*> byName_; // in the case in which names compare
};

struct RegistryValue {
    std::u16string name; // empty: the key's default value
    DWORD type = 0;
    std::string data; // bytes as stored; of the text types they are UTF-16 in little endian
    RegistryComments comments;
};

struct RegistryKey {
    std::u16string name;
    RegistryEntries<RegistryValue> values;
    RegistryEntries<RegistryKey> subKeys;
    RegistryComments comments;
};

// Names from a root to a key. The roots are the sub-keys of the tree's nameless top.
using RegistryPath = std::vector<std::u16string>;

struct RegistryTree {
    RegistryKey top;
    RegistryComments comments; // at the end of the file

    RegistryKey* Find(const RegistryPath& path); // null where there is none
    const RegistryKey* Find(const RegistryPath& path) const;
    // Makes what is missing; `made` is whether the key itself was.
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
