// The calls of the registry.
//
// An open key is a path, not a pointer into memory: each call reads the file anew, so that it sees
// what other processes and people have written, and gives ERROR_KEY_DELETED for a key that has been
// deleted meanwhile.

#include "platform/base/text.h"
#include "platform/kernel/handles.h"
#include "platform/registry/registry_file.h"

#include <winreg.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace platform {
namespace {

constexpr DWORD MaxValueSize = 1024 * 1024;

// An open key, or one of the roots, which are always there.
struct OpenKey : Object {
    RegistryPath path;
    REGSAM access = KEY_ALL_ACCESS;

    bool ClosedByCloseHandle() const override { return false; }
    bool IsRoot() const { return path.size() == 1; }
};

std::shared_ptr<OpenKey> FindKey(HKEY key) {
    const bool machine = key == HKEY_LOCAL_MACHINE;
    if (!machine && key != HKEY_CURRENT_USER)
        return std::dynamic_pointer_cast<OpenKey>(PeekHandle(key));
    auto root = std::make_shared<OpenKey>();
    root->path.push_back(machine ? u"HKEY_LOCAL_MACHINE" : u"HKEY_CURRENT_USER");
    return root;
}

HKEY AddKey(RegistryPath path, REGSAM access) {
    auto key = std::make_shared<OpenKey>();
    key->path = std::move(path);
    key->access = access;
    return static_cast<HKEY>(AddHandle(key));
}

std::u16string NameFrom(LPCSTR name) { return Utf16FromAnsi(name ? name : ""); }

// The path of a key below an open one.
LSTATUS PathBelow(const OpenKey& key, LPCSTR subKey, RegistryPath& path) {
    const std::string_view text = subKey ? subKey : "";
    path = key.path;
    if (text.starts_with('\\'))
        return ERROR_BAD_PATHNAME;
    return SplitRegistryPath(Utf16FromAnsi(text), path) ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

// Bytes as an 8-bit caller stores and sees them: of text, one for each UTF-16 unit.
std::string StoredFromCaller(DWORD type, const BYTE* data, DWORD size) {
    std::string bytes(reinterpret_cast<const char*>(data), size);
    if (IsRegistryText(type))
        return BytesFromUtf16(Utf16FromAnsi(bytes));
    return bytes;
}

std::string CallerFromStored(const RegistryValue& value) {
    return IsRegistryText(value.type) ? AnsiFromUtf16(Utf16FromBytes(value.data)) : value.data;
}

// Copies a value's type and bytes to the caller. *size is the capacity in bytes and becomes the
// number of them.
LSTATUS CopyValue(const RegistryValue& value, LPDWORD type, LPBYTE data, LPDWORD size) {
    const std::string bytes = CallerFromStored(value);
    if (type)
        *type = value.type;
    if (!size)
        return ERROR_SUCCESS;
    const std::size_t capacity = data ? *size : 0;
    *size = static_cast<DWORD>(bytes.size());
    if (!data)
        return ERROR_SUCCESS;
    if (capacity < bytes.size())
        return ERROR_MORE_DATA;
    std::copy(bytes.begin(), bytes.end(), data);
    const bool unterminated = IsRegistryText(value.type) && !bytes.ends_with('\0');
    if (unterminated && capacity > bytes.size())
        data[bytes.size()] = 0;
    return ERROR_SUCCESS;
}

// Reads the file and finds an open key in it. A root without any content is an empty key.
LSTATUS ReadKey(const OpenKey& key, SharedRegistry& tree, const RegistryKey*& found) {
    static const RegistryKey empty;
    if (const LSTATUS status = ReadRegistry(tree); status != ERROR_SUCCESS)
        return status;
    found = tree->Find(key.path);
    if (!found && key.IsRoot())
        found = &empty;
    return found ? ERROR_SUCCESS : ERROR_KEY_DELETED;
}

RegistryChange StoreValue(RegistryTree& tree, const OpenKey& key, const RegistryValue& value) {
    bool made = false;
    RegistryKey* target = key.IsRoot() ? &tree.Make(key.path, made) : tree.Find(key.path);
    if (!target)
        return {ERROR_KEY_DELETED};
    RegistryValue& stored = target->values.FindOrAdd(value.name);
    stored.type = value.type;
    stored.data = value.data;
    return {ERROR_SUCCESS, true};
}

RegistryChange DeleteKey(RegistryTree& tree, const RegistryPath& path) {
    const RegistryKey* key = tree.Find(path);
    if (!key)
        return {ERROR_FILE_NOT_FOUND};
    if (key->subKeys.Size() > 0 || path.size() < 2)
        return {ERROR_ACCESS_DENIED};
    return {ERROR_SUCCESS, tree.Delete(path)};
}

LSTATUS CheckAccess(const std::shared_ptr<OpenKey>& key, REGSAM needed) {
    if (!key)
        return ERROR_INVALID_HANDLE;
    return (key->access & needed) == needed ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

} // namespace
} // namespace platform

using namespace platform;

LSTATUS WINAPI RegOpenKeyExA(HKEY parent, LPCSTR subKey, DWORD, REGSAM access, PHKEY opened) {
    const auto key = FindKey(parent);
    if (!key || !opened)
        return key ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE;
    SharedRegistry tree;
    RegistryPath path;
    LSTATUS status = PathBelow(*key, subKey, path);
    if (status == ERROR_SUCCESS)
        status = ReadRegistry(tree);
    if (status != ERROR_SUCCESS)
        return status;
    if (path.size() > 1 && !tree->Find(path))
        return ERROR_FILE_NOT_FOUND;
    *opened = AddKey(std::move(path), access);
    return ERROR_SUCCESS;
}

LSTATUS WINAPI RegCreateKeyExA(HKEY parent, LPCSTR subKey, DWORD, LPSTR, DWORD options,
                               REGSAM access, LPSECURITY_ATTRIBUTES, PHKEY opened,
                               LPDWORD disposition) {
    const auto key = FindKey(parent);
    if (!key)
        return ERROR_INVALID_HANDLE;
    if (!subKey || !opened || options != REG_OPTION_NON_VOLATILE)
        return ERROR_INVALID_PARAMETER;
    RegistryPath path;
    bool made = false;
    LSTATUS status = PathBelow(*key, subKey, path);
    if (status == ERROR_SUCCESS)
        status = ChangeRegistry([&](RegistryTree& tree) -> RegistryChange {
            tree.Make(path, made);
            made = made && path.size() > 1;
            return {ERROR_SUCCESS, made};
        });
    if (status != ERROR_SUCCESS)
        return status;
    if (disposition)
        *disposition = made ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    *opened = AddKey(std::move(path), access);
    return ERROR_SUCCESS;
}

LSTATUS WINAPI RegSetValueExA(HKEY handle, LPCSTR name, DWORD, DWORD type, const BYTE* data,
                              DWORD size) {
    const auto key = FindKey(handle);
    if (const LSTATUS status = CheckAccess(key, KEY_SET_VALUE); status != ERROR_SUCCESS)
        return status;
    RegistryValue value;
    value.name = NameFrom(name);
    if (!IsRegistryValueName(value.name) || (!data && size > 0))
        return ERROR_INVALID_PARAMETER;
    if (size > MaxValueSize)
        return ERROR_NOT_ENOUGH_MEMORY;
    value.type = type;
    value.data = StoredFromCaller(type, data, size);
    return ChangeRegistry([&](RegistryTree& tree) { return StoreValue(tree, *key, value); });
}

LSTATUS WINAPI RegQueryValueExA(HKEY handle, LPCSTR name, LPDWORD, LPDWORD type, LPBYTE data,
                                LPDWORD size) {
    const auto key = FindKey(handle);
    if (const LSTATUS status = CheckAccess(key, KEY_QUERY_VALUE); status != ERROR_SUCCESS)
        return status;
    if (data && !size)
        return ERROR_INVALID_PARAMETER;
    SharedRegistry tree;
    const RegistryKey* found;
    if (const LSTATUS status = ReadKey(*key, tree, found); status != ERROR_SUCCESS)
        return status;
    const RegistryValue* value = found->values.Find(NameFrom(name));
    return value ? CopyValue(*value, type, data, size) : ERROR_FILE_NOT_FOUND;
}

LSTATUS WINAPI RegEnumValueA(HKEY handle, DWORD index, LPSTR name, LPDWORD nameLength, LPDWORD,
                             LPDWORD type, LPBYTE data, LPDWORD size) {
    const auto key = FindKey(handle);
    if (const LSTATUS status = CheckAccess(key, KEY_QUERY_VALUE); status != ERROR_SUCCESS)
        return status;
    if (!name || !nameLength || (data && !size))
        return ERROR_INVALID_PARAMETER;
    SharedRegistry tree;
    const RegistryKey* found;
    if (const LSTATUS status = ReadKey(*key, tree, found); status != ERROR_SUCCESS)
        return status;
    const auto& values = found->values.All();
    if (index >= values.size())
        return ERROR_NO_MORE_ITEMS;
    const RegistryValue& value = *values[index];
    const std::string text = AnsiFromUtf16(value.name);
    if (*nameLength <= text.size())
        return ERROR_MORE_DATA;
    std::memcpy(name, text.c_str(), text.size() + 1);
    *nameLength = static_cast<DWORD>(text.size());
    return CopyValue(value, type, data, size);
}

LSTATUS WINAPI RegDeleteKeyA(HKEY parent, LPCSTR subKey) {
    const auto key = FindKey(parent);
    if (!key || !subKey)
        return key ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE;
    RegistryPath path;
    if (const LSTATUS status = PathBelow(*key, subKey, path); status != ERROR_SUCCESS)
        return status;
    return ChangeRegistry([&path](RegistryTree& tree) { return DeleteKey(tree, path); });
}

// The roots are never closed.
LSTATUS WINAPI RegCloseKey(HKEY handle) {
    if (handle == HKEY_LOCAL_MACHINE || handle == HKEY_CURRENT_USER)
        return ERROR_SUCCESS;
    const DWORD lastError = GetLastError();
    const bool closed = FindKey(handle) && RemoveHandle(handle);
    SetLastError(lastError);
    return closed ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}
