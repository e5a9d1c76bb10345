// Values in the registry of the PC, through the calls of Windows.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

namespace test_support {

// Creates it where it is not there; closed by the caller.
inline HKEY OpenKey(HKEY root, const char* keyName) {
    HKEY key = nullptr;
    EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExA(root, keyName, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                             &key, nullptr));
    return key;
}

// The bytes are stored as they are.
inline LSTATUS SetValue(HKEY key, const char* name, DWORD type, const std::string& data) {
    return RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                          static_cast<DWORD>(data.size()));
}

// As above, and creates the key, too. Gives the first error, where the file was left as it was.
inline LSTATUS TryStoreValue(HKEY root, const char* keyName, const char* name, DWORD type,
                             const std::string& data) {
    HKEY key = nullptr;
    LSTATUS status =
        RegCreateKeyExA(root, keyName, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    if (status != ERROR_SUCCESS)
        return status;
    status = SetValue(key, name, type, data);
    RegCloseKey(key);
    return status;
}

inline void StoreValue(HKEY root, const char* keyName, const char* name, DWORD type,
                       const std::string& data) {
    EXPECT_EQ(ERROR_SUCCESS, TryStoreValue(root, keyName, name, type, data)) << name;
}

// A text of this PC, with its terminator.
inline void StoreText(const char* keyName, const char* name, const std::string& text) {
    StoreValue(HKEY_LOCAL_MACHINE, keyName, name, REG_SZ, text + '\0');
}

// The stored bytes, "type:bytes"; "none" where the value, or its key, is not there or is larger
// than 2000 bytes.
inline std::string ValueOf(HKEY root, const char* keyName, const char* name) {
    HKEY key = nullptr;
    if (RegOpenKeyExA(root, keyName, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return "none";
    std::string data(2000, '?');
    DWORD type = 0, size = 2000;
    const LSTATUS status =
        RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size);
    RegCloseKey(key);
    return status == ERROR_SUCCESS ? std::to_string(type) + ":" + data.substr(0, size) : "none";
}

} // namespace test_support
