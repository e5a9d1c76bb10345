// The calls of the registry: what is stored comes back byte for byte, and errors are those that
// callers on Windows decide by.

#include "testing/child_process.h"
#include "testing/registry_values.h"
#include "testing/test_home.h"

#include "platform/kernel/handles.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <deque>
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
    void SetUp() override { test_support::HomeOfTests(); }
};

std::vector<std::string> ValueNames(HKEY key) {
    std::vector<std::string> names;
    char name[100];
    for (DWORD index = 0;; ++index) {
        DWORD length = sizeof(name);
        if (RegEnumValueA(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != 0)
            return names;
        names.emplace_back(name, length);
    }
}

std::string AllBytes() {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

TEST_F(Registry, every_sequence_of_bytes_comes_back_as_it_was) {
    const std::pair<DWORD, std::string> cases[] = {
        {REG_SZ, "English\0"s},
        {REG_SZ, "English\0\0\0\0\0\0\0\0\0\0\0\0\0"s}, // a whole buffer
        {REG_SZ, "Z:\\tree\\a \"quoted\" image.nbf"s},  // no terminator
        {REG_SZ, "\0"s},
        {REG_SZ, ""s},
        {REG_SZ, "ends in a backslash\\\0"s},
        {REG_SZ, "line\r\nend\0"s},
        {REG_SZ, "; no comment\0"s},
        {REG_SZ, " blanks \0"s},
        {REG_SZ, "dword:00000001\0"s},
        {REG_SZ, "a\0b\0"s},
        {REG_SZ, AllBytes() + '\0'},
        {REG_EXPAND_SZ, "%PATH%\0"s},
        {REG_MULTI_SZ, "one\0two\0\0"s},
        {REG_DWORD, "\x01\x02\x03\xFF"s},
        {REG_DWORD, "\x01"s}, // three bytes short
        {REG_BINARY, AllBytes() + AllBytes()},
        {REG_BINARY, ""s},
        {REG_NONE, "x"s},
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
}

TEST_F(Registry, a_key_is_opened_in_any_case_and_its_values_keep_the_order_of_their_first_writing) {
    const HKEY key = OpenKey(HKEY_CURRENT_USER, "Software\\\xC9t\xE9 ]"); // "Été"
    const std::vector<std::string> names{"",    "Fl\xE2sh", "quote\"back\\slash", "=", "@", "[x]",
                                         "; x", " "};
    for (const auto& name : names)
        ASSERT_EQ(SetValue(key, name.c_str(), REG_SZ, name + "!\0"s), 0);
    ASSERT_EQ(SetValue(key, "FL\xC2SH", REG_SZ, "new\0"s), 0);
    EXPECT_EQ(ValueNames(key), names);
    RegCloseKey(key);
    const char* const otherCase = "SOFTWARE\\\xE9T\xC9 ]\\";
    EXPECT_EQ(ValueOf(HKEY_CURRENT_USER, otherCase, "fl\xE2sh"), "1:new\0"s);
    EXPECT_EQ(ValueOf(HKEY_CURRENT_USER, otherCase, nullptr), "1:!\0"s);
}

// Each of several processes adds values of its own at the same time; none undoes another's.
TEST_F(Registry, processes_that_write_at_the_same_time_lose_nothing) {
    constexpr int Writers = 4, Values = 12;
    const HKEY key = OpenKey(HKEY_CURRENT_USER, "Software\\Shared");
    std::deque<test_support::ChildProcess> writers;
    for (int writer = 0; writer < Writers; ++writer)
        writers.emplace_back([=] {
            int failed = 0;
            for (int value = 0; value < Values; ++value) {
                const auto name = std::to_string(writer) + "/" + std::to_string(value);
                failed += SetValue(key, name.c_str(), REG_SZ, "x\0"s) != 0;
            }
            return failed;
        });
    for (auto& writer : writers)
        EXPECT_EQ(writer.Wait(), 0);
    EXPECT_EQ(ValueNames(key).size(), std::size_t{Writers * Values});
    RegCloseKey(key);
}

} // namespace
