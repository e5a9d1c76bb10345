// The registry's tree: finding, making and deleting keys by name. Limits of names and depth are
// those that Windows documents.

#include "platform/registry/registry_tree.h"

#include <winreg.h>

#include <algorithm>
#include <utility>

namespace platform {
namespace {

constexpr std::size_t MaxKeyNameLength = 255;
constexpr std::size_t MaxValueNameLength = 16383;
constexpr std::size_t MaxKeyDepth = 512;

bool HoldsControls(std::u16string_view name) {
    return std::any_of(name.begin(), name.end(), [](char16_t c) { return c < 0x20; });
}

// A bracket and a semicolon together would read like the end of a key and a comment in the file.
bool IsKeyName(std::u16string_view name) {
    const bool looksEnded = name.find(u']') < name.rfind(u';') && name.rfind(u';') != name.npos;
    return !looksEnded && !name.empty() && name.size() <= MaxKeyNameLength && !HoldsControls(name);
}

} // namespace

const RegistryKey* RegistryTree::Find(const RegistryPath& path) const {
    const RegistryKey* key = &top;
    for (const auto& name : path)
        key = key ? key->subKeys.Find(name) : nullptr;
    return key;
}

RegistryKey* RegistryTree::Find(const RegistryPath& path) {
    return const_cast<RegistryKey*>(std::as_const(*this).Find(path));
}

RegistryKey& RegistryTree::Make(const RegistryPath& path, bool& made) {
    RegistryKey* key = &top;
    made = false;
    for (const auto& name : path) {
        const std::size_t before = key->subKeys.Size();
        RegistryKey& next = key->subKeys.FindOrAdd(name);
        made = key->subKeys.Size() > before;
        key = &next;
    }
    return *key;
}

bool RegistryTree::Delete(const RegistryPath& path) {
    if (path.empty())
        return false;
    RegistryKey* parent = Find(RegistryPath(path.begin(), path.end() - 1));
    return parent && parent->subKeys.Delete(path.back());
}

bool SplitRegistryPath(std::u16string_view text, RegistryPath& path) {
    if (text.ends_with(u'\\'))
        text.remove_suffix(1);
    while (!text.empty()) {
        const auto end = std::min(text.find(u'\\'), text.size());
        path.emplace_back(text.substr(0, end));
        const bool cutShort = end + 1 == text.size();
        if (!IsKeyName(path.back()) || path.size() > MaxKeyDepth || cutShort)
            return false;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return true;
}

bool IsRegistryValueName(std::u16string_view name) {
    return name.size() <= MaxValueNameLength && !HoldsControls(name);
}

bool IsRegistryText(DWORD type) {
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

} // namespace platform
