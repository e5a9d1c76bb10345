// The registry's file: what people write into it, and what is left of it when a writer dies.

#include "testing/child_process.h"
#include "testing/comes_true.h"
#include "testing/registry_values.h"
#include "testing/test_home.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <ctime>
#include <deque>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using test_support::HomeOfTests;
using test_support::OpenKey;
using test_support::ReadBytes;
using test_support::SetValue;
using test_support::StoreValue;
using test_support::ValueOf;

const auto File = HomeOfTests().Home() / "registry.reg";
const std::string FirstLine = "Windows Registry Editor Version 5.00\n";
const std::string Key = "[HKEY_LOCAL_MACHINE\\Software]\n";

// As written by whoever edits the file.
void GiveFile(const std::string& content) { test_support::WriteFileBytes(File, content); }

LSTATUS Write(const std::string& text) {
    return test_support::TryStoreValue(HKEY_LOCAL_MACHINE, "Software", "a", REG_SZ, text + '\0');
}

std::string Read(const char* name = "a", const char* keyName = "Software") {
    return ValueOf(HKEY_LOCAL_MACHINE, keyName, name);
}

TEST(RegistryFile, a_person_finds_what_the_format_promises) {
    const HKEY key = OpenKey(HKEY_CURRENT_USER, "Software\\Utility");
    SetValue(key, "Flash", REG_DWORD, "\1\0\0\0"s);
    SetValue(key, "Path", REG_SZ, "Z:\\\xE9\0"s);
    SetValue(key, "", REG_SZ, "a \"b\"\0"s);
    SetValue(key, "Short", REG_SZ, "ab");
    RegCloseKey(key);
    EXPECT_EQ(ReadBytes(File), FirstLine + "\n[HKEY_CURRENT_USER\\Software\\Utility]\n"
                                           "\"Flash\"=dword:00000001\n"
                                           "\"Path\"=\"Z:\\\\\xC3\xA9\"\n"
                                           "@=\"a \\\"b\\\"\"\n"
                                           "\"Short\"=hex(1):61,00,62,00\n");
}

TEST(RegistryFile, an_edited_file_is_read_and_nothing_of_it_is_lost_by_a_write) {
    const std::string edited =
        "\xEF\xBB\xBF" + FirstLine +
        "\r\n; who wrote this\r\n[HKLM\\Software\\Port]; here\r\n"
        "  \"SerialPort\" = \"COM1\" ; the left one\r\n"
        "\"Path\"=\"C:\\one\\\\two\"\r\n\"Bytes\"=hex(1):43,00,4f, \\\r\n  00,4d,00,\\\r\n"
        "  00,00\r\n@=\"default\"\r\n\"Greek\"=\"\xCE\xA9\"\r\n"
        "[HKEY_CLASSES_ROOT\\.nbf]\r\n\"y\"=\"2\"\r\n\"x\"=DWORD:ff\r\n"
        "\"Y\"=\"3\"\r\n; the end";
    GiveFile(edited);
    EXPECT_EQ(Read("serialport", "software\\PORT"), "1:COM1\0"s);
    EXPECT_EQ(Read("Path", "software\\port"), "1:C:\\one\\two\0"s);
    EXPECT_EQ(Read("Bytes", "software\\port"), "1:COM\0"s);
    EXPECT_EQ(Read("", "software\\port"), "1:default\0"s);
    StoreValue(HKEY_LOCAL_MACHINE, "Software\\Port", "New", REG_SZ, "value\0"s);
    const std::string written = ReadBytes(File);
    for (const char* kept :
         {"5.00\n\n; who wrote this\n; here\n[HKEY_LOCAL_MACHINE\\Software\\Port]\n",
          "; the left one\n\"SerialPort\"=\"COM1\"\n", "\"Greek\"=\"\xCE\xA9\"\n",
          "[HKEY_CLASSES_ROOT\\.nbf]\n\"y\"=\"3\"\n\"x\"=dword:000000ff\n", "\n; the end\n",
          "\"New\"="})
        EXPECT_NE(written.find(kept), std::string::npos) << kept << " is missing in\n" << written;
}

TEST(RegistryFile, a_file_that_is_not_understood_is_left_as_it_is) {
    std::vector<std::string> contents = {FirstLine + "\"outside\"=\"1\"\n", "REGEDIT4\n" + Key,
                                         std::string(100, '\0'), "<<<<<<< mine\n" + FirstLine};
    for (const std::string& value :
         {"\"a\"=\"open"s, "\"a\"=word:1"s, "\"a\"=hex:100"s, "\"a\"=\"\xE9\""s, "[]"s,
          "[-HKEY_LOCAL_MACHINE\\A]"s, std::string(4 * 1024 * 1024, '\n')})
        contents.emplace_back(FirstLine).append(Key).append(value).append("\n");
    for (const std::string& content : contents) {
        GiveFile(content);
        EXPECT_EQ(Write("b"), ERROR_REGISTRY_CORRUPT) << content;
        EXPECT_EQ(Read(), "none") << content;
        EXPECT_EQ(ReadBytes(File), content);
    }
}

// The file stays the same one, of the same size: first within one step of its time stamps, then
// when they are old enough to prove that it was not touched.
TEST(RegistryFile, a_change_in_the_file_itself_is_seen_by_the_next_call) {
    const auto seen = [](int number) {
        GiveFile(Key + "\"a\"=\"" + std::to_string(number) + "\"\n");
        return Read() == "1:" + std::to_string(number) + '\0';
    };
    for (int number = 100; number < 300; ++number)
        ASSERT_TRUE(seen(number)) << number;
    const std::time_t end = std::time(nullptr) + 1;
    ASSERT_TRUE(test_support::ComesTrue([end] { return std::time(nullptr) > end; }));
    EXPECT_EQ(Read(), "1:299\0"s);
    EXPECT_TRUE(seen(999));
}

TEST(RegistryFile, a_write_that_nobody_could_read_leaves_the_old_content) {
    const std::string old = FirstLine + Key + "\"a\"=\"old\"\n";
    GiveFile(old);
    EXPECT_EQ(Write(std::string(1000000, '\1')), ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(ReadBytes(File), old);
    const auto fresh = HomeOfTests().Home() / "registry.new";
    EXPECT_FALSE(std::filesystem::exists(fresh));
    test_support::WriteFileBytes(fresh, "of a killed writer");
    EXPECT_EQ(Write("new"), ERROR_SUCCESS);
    EXPECT_EQ(Read(), "1:new\0"s);
    EXPECT_FALSE(std::filesystem::exists(fresh));
}

// Each of several processes adds values of its own at the same time; none undoes another's.
TEST(RegistryFile, processes_that_write_at_the_same_time_lose_nothing) {
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
    RegCloseKey(key);
    const std::string file = ReadBytes(File);
    int found = 0;
    for (std::size_t at = 0; (at = file.find("=\"x\"\n", at)) != file.npos; ++at)
        ++found;
    EXPECT_EQ(found, Writers * Values);
}

} // namespace
