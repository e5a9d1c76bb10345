// The calls of the registry: what is stored comes back byte for byte, and errors are those that
// callers on Windows decide by. Also on Windows.

#include "testing/registry_values.h"
#include "tests/platform/any_host.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;
using test_support::OpenKey;
using test_support::SetValue;
using test_support::StoreValue;
using test_support::ValueOf;

class Registry : public testing::Test {
protected:
    void SetUp() override { any_host::EnterEmptyFolder(); }
};

// Their order is nobody's promise.
std::vector<std::string> ValueNames(HKEY key) {
    std::vector<std::string> names;
    char name[100];
    for (DWORD index = 0;; ++index) {
        DWORD length = sizeof(name);
        if (RegEnumValueA(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != 0)
            break;
        names.emplace_back(name, length);
    }
    std::ranges::sort(names);
    return names;
}

std::string AllBytes() {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

// What of them is written how is for tests/fuzz/registry_file.cpp.
TEST_F(Registry, every_sequence_of_bytes_comes_back_as_it_was) {
    const std::pair<DWORD, std::string> cases[] = {
        {REG_SZ, "English\0\0\0\0\0\0\0\0\0\0\0\0\0"s}, // a whole buffer
        {REG_SZ, ""s},
        {REG_SZ, "a\0b\0"s},
        {REG_SZ, AllBytes() + "\\\0"s},
        {REG_MULTI_SZ, "one\0two\0\0"s},
        {REG_DWORD, "\x01"s}, // three bytes short
        {REG_BINARY, AllBytes() + AllBytes()},
        {0xFFFF0001, "own type"s},
    };
    const char* const key = "Software\\Bytes";
    for (std::size_t i = 0; i < std::size(cases); ++i)
        StoreValue(HKEY_CURRENT_USER, key, std::to_string(i).c_str(), cases[i].first,
                   cases[i].second);
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(ValueOf(HKEY_CURRENT_USER, key, std::to_string(i).c_str()),
                  std::to_string(cases[i].first) + ":" + cases[i].second)
            << "case " << i;
    StoreValue(HKEY_CURRENT_USER, key, "bare", REG_SZ, "no terminator");
    any_host::ExpectDocumented("a text stored without its terminator",
                               ValueOf(HKEY_CURRENT_USER, key, "bare") == "1:no terminator");
}

TEST_F(Registry, a_key_is_opened_in_any_case_and_holds_values_of_any_name) {
    const HKEY key = OpenKey(HKEY_CURRENT_USER, "Software\\\xC9t\xE9 ]"); // "Été"
    const std::vector<std::string> names{"",  " ",        "; x", "=",
                                         "@", "Fl\xE2sh", "[x]", "quote\"back\\slash"};
    for (const auto& name : names)
        ASSERT_EQ(SetValue(key, name.c_str(), REG_SZ, name + "!\0"s), 0);
    ASSERT_EQ(SetValue(key, "FL\xC2SH", REG_SZ, "new\0"s), 0);
    EXPECT_EQ(ValueNames(key), names);
    RegCloseKey(key);
    const char* const otherCase = "SOFTWARE\\\xE9T\xC9 ]\\";
    EXPECT_EQ(ValueOf(HKEY_CURRENT_USER, otherCase, "fl\xE2sh"), "1:new\0"s);
    EXPECT_EQ(ValueOf(HKEY_CURRENT_USER, otherCase, nullptr), "1:!\0"s);
}

} // namespace
