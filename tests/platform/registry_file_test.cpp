// The registry's file: what people write into it, and what is left of it when a writer dies.

#include "testing/comes_true.h"
#include "testing/killed_child.h"
#include "tests/platform/own_home.h"

#include "platform/registry/registry_text.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <csignal>
#include <ctime>
#include <string>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using test_support::ChildEnd;
using test_support::RunKilledAtStop;

const auto File = ownHome.Home() / "registry.reg";
const std::string FirstLine = "Windows Registry Editor Version 5.00\n";

// As written by whoever edits the file.
void GiveFile(const std::string& content) {
    std::filesystem::create_directories(ownHome.Home());
    WriteText(File, content);
}

LSTATUS SetText(const char* keyName, const char* name, const std::string& text) {
    HKEY key = nullptr;
    LSTATUS status = RegCreateKeyExA(HKEY_LOCAL_MACHINE, keyName, 0, nullptr, 0, KEY_ALL_ACCESS,
                                     nullptr, &key, nullptr);
    if (status != ERROR_SUCCESS)
        return status;
    status = RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                            static_cast<DWORD>(text.size() + 1));
    RegCloseKey(key);
    return status;
}

std::string GetText(const char* keyName, const char* name) {
    HKEY key = nullptr;
    char text[300] = "";
    DWORD size = sizeof(text);
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, keyName, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return "no key";
    if (RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size) != 0)
        size = 0;
    RegCloseKey(key);
    return {text, size};
}

TEST(RegistryFile, a_person_finds_what_the_format_promises) {
    HKEY key = nullptr;
    RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\Utility", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                    &key, nullptr);
    const DWORD one = 1;
    RegSetValueExA(key, "Flash", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&one), 4);
    RegSetValueExA(key, "Path", 0, REG_SZ, reinterpret_cast<const BYTE*>("Z:\\\xE9"), 5);
    RegSetValueExA(key, "", 0, REG_SZ, reinterpret_cast<const BYTE*>("a \"b\""), 6);
    RegSetValueExA(key, "Short", 0, REG_SZ, reinterpret_cast<const BYTE*>("ab"), 2);
    RegCloseKey(key);
    EXPECT_EQ(ReadText(File), FirstLine + "\n[HKEY_CURRENT_USER\\Software\\Utility]\n"
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
    platform::RegistryTree tree;
    std::string error;
    EXPECT_TRUE(platform::ParseRegistry(edited, tree, error));
    EXPECT_EQ(tree.Find({u"hkey_classes_root", u".nbf"})->values.All().size(), 2U);
    GiveFile(edited);
    EXPECT_EQ(GetText("software\\PORT", "serialport"), std::string("COM1", 5));
    EXPECT_EQ(GetText("software\\port", "Path"), std::string("C:\\one\\two", 11));
    EXPECT_EQ(GetText("software\\port", "Bytes"), std::string("COM\0", 4));
    EXPECT_EQ(GetText("software\\port", ""), std::string("default", 8));
    ASSERT_EQ(SetText("Software\\Port", "New", "value"), ERROR_SUCCESS);
    const std::string written = ReadText(File);
    for (const char* kept :
         {"5.00\n\n; who wrote this\n; here\n[HKEY_LOCAL_MACHINE\\Software\\Port]\n",
          "; the left one\n\"SerialPort\"=\"COM1\"\n", "\"Greek\"=\"\xCE\xA9\"\n",
          "[HKEY_CLASSES_ROOT\\.nbf]\n\"y\"=\"3\"\n\"x\"=dword:000000ff\n", "\n; the end\n",
          "\"New\"="})
        EXPECT_NE(written.find(kept), std::string::npos) << kept << " is missing in\n" << written;
}

TEST(RegistryFile, a_file_that_is_not_understood_is_left_as_it_is) {
    const std::string key = "[HKEY_LOCAL_MACHINE\\Software]\n";
    for (const std::string& content :
         {FirstLine + key + "\"open=1\n", FirstLine + key + "\"a\"=\"open\n",
          FirstLine + key + "\"a\"=word:1\n", FirstLine + key + "\"a\"=dword:123456789\n",
          FirstLine + key + "\"a\"=hex(x):00\n", FirstLine + key + "\"a\"=hex:0,,1\n",
          FirstLine + key + "\"a\"=\"b\" c\n", FirstLine + "[HKEY_LOCAL_MACHINE\\Software\n",
          FirstLine + "[]\n", FirstLine + "[\\]\n", FirstLine + "[-HKEY_LOCAL_MACHINE\\A]\n",
          FirstLine + key + "\"a\"=-\n", FirstLine + std::string(4 * 1024 * 1024, '\n'),
          FirstLine + "\"outside\"=\"1\"\n", FirstLine + key + "\"a\"=\"\xE9\"\n",
          FirstLine + key + "\"a\"=\"b\\\n\xE9\"\n", "REGEDIT4\n" + key, std::string(100, '\0'),
          "<<<<<<< mine\n" + FirstLine}) {
        GiveFile(content);
        EXPECT_EQ(SetText("Software", "a", "b"), ERROR_REGISTRY_CORRUPT) << content;
        EXPECT_EQ(GetText("Software", "a"), "no key") << content;
        EXPECT_EQ(ReadText(File), content);
    }
}

TEST(RegistryFile, a_pipe_in_place_of_the_file_blocks_nobody) {
    std::filesystem::create_directories(ownHome.Home());
    std::filesystem::remove(File);
    ASSERT_EQ(mkfifo((ownHome.Home() / "registry.new").c_str(), 0600), 0);
    EXPECT_EQ(SetText("Software", "a", "b"), ERROR_SUCCESS);
    std::filesystem::remove(File);
    ASSERT_EQ(mkfifo(File.c_str(), 0600), 0);
    EXPECT_EQ(SetText("Software", "a", "b"), ERROR_REGISTRY_CORRUPT);
    EXPECT_EQ(GetText("Software", "a"), "no key");
    std::filesystem::remove(File);
}

// The file stays the same one, of the same size: first within one step of its time stamps, then
// when they are old enough to prove that it was not touched.
TEST(RegistryFile, a_change_in_the_file_itself_is_seen_by_the_next_call) {
    const auto give = [](int number) {
        GiveFile("[HKEY_LOCAL_MACHINE\\Software]\n\"a\"=\"" + std::to_string(number) + "\"\n");
    };
    const auto get = [] { return std::atoi(GetText("Software", "a").c_str()); };
    for (int number = 100; number < 300; ++number) {
        give(number);
        ASSERT_EQ(get(), number);
    }
    const std::time_t end = std::time(nullptr) + 1;
    ASSERT_TRUE(test_support::ComesTrue([end] { return std::time(nullptr) > end; }));
    EXPECT_EQ(get(), 299);
    give(999);
    EXPECT_EQ(get(), 999);
}

TEST(RegistryFile, a_write_that_finds_no_space_leaves_the_old_content) {
    GiveFile(FirstLine + "[HKEY_LOCAL_MACHINE\\Software]\n\"a\"=\"old\"\n");
    const std::string old = ReadText(File);
    const pid_t writer = fork();
    if (writer == 0) {
        const rlimit limit{100, 100};
        signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &limit);
        _exit(SetText("Software", "b", std::string(200, 'x')) == ERROR_DISK_FULL ? 0 : 1);
    }
    int status = 0;
    waitpid(writer, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(SetText("Software", "b", std::string(1000000, '\1')), ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(ReadText(File), old);
    EXPECT_FALSE(std::filesystem::exists(ownHome.Home() / "registry.new"));
}

// Kills the writer at every stop in turn, until one comes to its end. What is on the disk is the
// old content first and, from some stop on, always the new.
void KillAtEveryStop(LSTATUS (*write)(), const std::string& old, const std::string& complete) {
    int oldSeen = 0;
    int newSeen = 0;
    ChildEnd end = ChildEnd::Killed;
    for (int number = 0; end == ChildEnd::Killed; ++number) {
        GiveFile(old);
        end = RunKilledAtStop(number, [&] { return write() == ERROR_SUCCESS; });
        if (end == ChildEnd::NotTraceable)
            GTEST_SKIP() << "this host does not let a process trace its child";
        ASSERT_NE(end, ChildEnd::Failed);
        const std::string found = ReadText(File);
        const bool isOld = found == old;
        ASSERT_TRUE(isOld || found == complete) << "killed at stop " << number << ":\n" << found;
        ASSERT_FALSE(isOld && newSeen > 0) << "the old content came back at stop " << number;
        ++(isOld ? oldSeen : newSeen);
    }
    // The lock is free again, and what a killed writer left does not hinder the next one.
    EXPECT_EQ(SetText("Software\\New", "b", "newer"), ERROR_SUCCESS);
    EXPECT_EQ(GetText("Software\\New", "b"), std::string("newer", 6));
    EXPECT_GT(oldSeen, 20);
    EXPECT_GT(newSeen, 1);
}

LSTATUS WriteValue() { return SetText("Software\\New", "b", "new"); }

TEST(RegistryFile, a_killed_write_leaves_old_or_new_content) {
    GiveFile(FirstLine + "\n[HKEY_LOCAL_MACHINE\\Software\\New]\n\"a\"=\"old\"\n\"b\"=\"old\"\n");
    const std::string old = ReadText(File);
    ASSERT_EQ(WriteValue(), ERROR_SUCCESS);
    KillAtEveryStop(WriteValue, old, ReadText(File));
}

} // namespace
