// The calls of the registry: what is stored comes back byte for byte, and errors are those that
// callers on Windows decide by.

#include "tests/platform/own_home.h"

#include "platform/kernel/handles.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace std::string_literals;

HKEY MakeKey(const char* name) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, name, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                              nullptr),
              ERROR_SUCCESS);
    return key;
}

LSTATUS Set(HKEY key, const char* name, DWORD type, const std::string& data) {
    return RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                          static_cast<DWORD>(data.size()));
}

// The stored bytes of a value, "type:bytes".
std::string Get(HKEY key, const char* name) {
    BYTE data[2000];
    DWORD type = 0;
    DWORD size = sizeof(data);
    if (RegQueryValueExA(key, name, nullptr, &type, data, &size) != ERROR_SUCCESS)
        return "none";
    return std::to_string(type) + ":" + std::string(reinterpret_cast<char*>(data), size);
}

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

TEST(Registry, every_sequence_of_bytes_comes_back_as_it_was) {
    const std::vector<std::pair<DWORD, std::string>> cases{
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
    const HKEY key = MakeKey("Software\\Bytes");
    for (std::size_t i = 0; i < cases.size(); ++i)
        ASSERT_EQ(Set(key, std::to_string(i).c_str(), cases[i].first, cases[i].second), 0);
    for (std::size_t i = 0; i < cases.size(); ++i)
        EXPECT_EQ(Get(key, std::to_string(i).c_str()),
                  std::to_string(cases[i].first) + ":" + cases[i].second)
            << "case " << i;
    EXPECT_EQ(RegCloseKey(key), 0);
}

// Such a name would read like the end of a key and a comment in the file.
TEST(Registry, a_name_that_the_file_cannot_hold_is_refused) {
    const HKEY key = MakeKey("Software\\Names");
    HKEY made = nullptr;
    for (const char* name : {"a];b", "line\nend", "a\\\\b"})
        EXPECT_EQ(RegCreateKeyExA(key, name, 0, nullptr, 0, KEY_READ, nullptr, &made, nullptr),
                  ERROR_INVALID_PARAMETER)
            << name;
    EXPECT_EQ(Set(key, "line\nend", REG_SZ, "x"), ERROR_INVALID_PARAMETER);
    RegCloseKey(key);
}

TEST(Registry, a_key_is_opened_in_any_case_and_its_values_are_found) {
    const HKEY key = MakeKey("Software\\\xC9t\xE9 ]"); // "Été"
    const std::vector<std::string> names{"",    "Fl\xE2sh", "quote\"back\\slash", "=", "@", "[x]",
                                         "; x", " "};
    for (const auto& name : names)
        ASSERT_EQ(Set(key, name.c_str(), REG_SZ, name + "!\0"s), 0);
    HKEY again = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "SOFTWARE\\\xE9T\xC9 ]\\", 0, KEY_READ, &again), 0);
    EXPECT_EQ(ValueNames(again), names);
    EXPECT_EQ(Get(again, "FL\xC2SH"), "1:Fl\xE2sh!\0"s);
    EXPECT_EQ(Get(again, nullptr), "1:!\0"s);
    RegCloseKey(again);
    RegCloseKey(key);
}

TEST(Registry, values_are_enumerated_in_the_order_of_their_first_writing) {
    const HKEY key = MakeKey("Software\\Order");
    for (const char* name : {"Flash", "Language", "USB", "FlashFile"})
        ASSERT_EQ(Set(key, name, REG_SZ, "old\0"s), 0);
    ASSERT_EQ(Set(key, "LANGUAGE", REG_SZ, "new\0"s), 0);
    EXPECT_EQ(ValueNames(key), (std::vector<std::string>{"Flash", "Language", "USB", "FlashFile"}));
    EXPECT_EQ(Get(key, "Language"), "1:new\0"s);
    RegCloseKey(key);
}

// Each of several processes adds values of its own at the same time; none undoes another's.
TEST(Registry, processes_that_write_at_the_same_time_lose_nothing) {
    constexpr int Writers = 4;
    constexpr int Values = 12;
    RegCloseKey(MakeKey("Software\\Shared"));
    std::vector<pid_t> writers;
    for (int writer = 0; writer < Writers; ++writer) {
        writers.push_back(fork());
        if (writers.back() != 0)
            continue;
        const HKEY key = MakeKey("Software\\Shared");
        bool good = true;
        for (int value = 0; value < Values; ++value) {
            const auto name = std::to_string(writer) + "/" + std::to_string(value);
            good = good && Set(key, name.c_str(), REG_SZ, "x\0"s) == 0;
        }
        _exit(good ? 0 : 1);
    }
    for (const pid_t writer : writers) {
        int status = 0;
        ASSERT_EQ(waitpid(writer, &status, 0), writer);
        EXPECT_EQ(status, 0);
    }
    const HKEY key = MakeKey("Software\\Shared");
    const auto names = ValueNames(key);
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(),
              std::size_t{Writers * Values});
    RegCloseKey(key);
}

} // namespace
