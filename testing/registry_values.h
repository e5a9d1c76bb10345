// Values in the registry of the PC, stored through the calls of Windows.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

namespace test_support {

// Creates the key, too. The bytes are stored as they are.
inline void StoreValue(HKEY root, const char* keyName, const char* name, DWORD type,
                       const std::string& data) {
    HKEY key = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExA(root, keyName, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                             &key, nullptr));
    EXPECT_EQ(ERROR_SUCCESS,
              RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                             static_cast<DWORD>(data.size())));
    RegCloseKey(key);
}

// A text of this PC, with its terminator.
inline void StoreText(const char* keyName, const char* name, const std::string& text) {
    StoreValue(HKEY_LOCAL_MACHINE, keyName, name, REG_SZ, text + '\0');
}

} // namespace test_support
