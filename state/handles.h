// Owners of the handles that a function opens: each closes its handle on every way out.
//
// The handles of the link are not owned so: they are in the record, and several threads race to
// close them; see LinkValues.
#pragma once

#include <windows.h>

#include "rapi/rapi.h"

#include <utility>

// Owns at most one handle of a kind. One thread at a time.
template <class Kind>
class Owner {
public:
    using Handle = typename Kind::Handle;

    Owner() = default;
    explicit Owner(Handle handle) : handle_(handle) {}
    Owner(Owner&& other) noexcept : handle_(std::exchange(other.handle_, Kind::None())) {}
    Owner& operator=(Owner&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;
    ~Owner() { Close(); }

    explicit operator bool() const { return handle_ != Kind::None(); }
    Handle Get() const { return handle_; }

    // Gives the handle to the caller, who closes it.
    Handle Release() { return std::exchange(handle_, Kind::None()); }

    // Closes it before the end of the scope. False when the system refused; true also where there
    // was nothing to close.
    bool Close() { return !*this || Kind::Close(std::exchange(handle_, Kind::None())); }

private:
    Handle handle_ = Kind::None();
};

struct FileKind {
    using Handle = HANDLE;
    static Handle None() { return INVALID_HANDLE_VALUE; }
    static bool Close(Handle handle) { return CloseHandle(handle) != FALSE; }
};

struct ObjectKind { // a thread, a process, an event
    using Handle = HANDLE;
    static Handle None() { return nullptr; }
    static bool Close(Handle handle) { return CloseHandle(handle) != FALSE; }
};

struct SearchKind {
    using Handle = HANDLE;
    static Handle None() { return INVALID_HANDLE_VALUE; }
    static bool Close(Handle handle) { return FindClose(handle) != FALSE; }
};

struct KeyKind {
    using Handle = HKEY;
    static Handle None() { return nullptr; }
    static bool Close(Handle handle) { return RegCloseKey(handle) == ERROR_SUCCESS; }
};

struct DeviceFileKind {
    using Handle = CeHandle;
    static Handle None() { return CeInvalidHandle; }
    static bool Close(Handle handle) { return CeCloseHandle(handle) != 0; }
};

struct DeviceSearchKind {
    using Handle = CeHandle;
    static Handle None() { return CeInvalidHandle; }
    static bool Close(Handle handle) { return CeFindClose(handle) != 0; }
};

struct DeviceKeyKind {
    using Handle = CeKey;
    static Handle None() { return 0; }
    static bool Close(Handle handle) { return CeRegCloseKey(handle) == ERROR_SUCCESS; }
};

using OwnedFile = Owner<FileKind>;
using OwnedObject = Owner<ObjectKind>;
using OwnedSearch = Owner<SearchKind>;
using OwnedKey = Owner<KeyKind>;
using OwnedDeviceFile = Owner<DeviceFileKind>;
using OwnedDeviceSearch = Owner<DeviceSearchKind>;
using OwnedDeviceKey = Owner<DeviceKeyKind>;

// A key that exists. Owns nothing when it cannot be opened so.
inline OwnedKey OpenKey(HKEY root, const char* path, REGSAM access) {
    HKEY key = nullptr;
    return OwnedKey(RegOpenKeyExA(root, path, 0, access, &key) == ERROR_SUCCESS ? key : nullptr);
}

// An existing file for reading, which others may read too and nobody write. Owns nothing when it
// cannot be opened.
inline OwnedFile OpenForReading(const char* path) {
    return OwnedFile(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
}
