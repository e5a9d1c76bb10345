// Windows paths on the host, and texts between the code pages.

#include "testing/test_home.h"

#include "platform/base/text.h"
#include "platform/files/paths.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include <unistd.h>

namespace {

using namespace std::string_literals;
using platform::HostPath;
using test_support::WriteFileBytes;

std::string Work() { return std::filesystem::canonical(test_support::HomeOfTests().Tree()); }
std::string Work(const std::string& name) { return Work() + "/" + name; }

class Paths : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(Work("ENGLISH/Sub"));
        for (const char* name : {"ENGLISH/Image.NBF", "Été", "both", "BOTH"})
            WriteFileBytes(Work(name), "x");
        std::filesystem::current_path(Work());
    }
};

TEST_F(Paths, lead_to_files_of_the_host_in_any_case_and_from_any_start) {
    const std::string here = platform::WindowsPath(Work("x"));
    EXPECT_EQ(platform::WindowsPath("/"), "Z:\\");
    const std::pair<std::string, std::string> cases[] = {
        {"english\\image.nbf", Work("ENGLISH/Image.NBF")},
        {"both", Work("both")},
        {"BOTH", Work("BOTH")},
        {"Both", Work("Both")}, // which is none of the two
        {"\xE9T\xE9", Work("Été")},
        {"n\xE9w", Work("néw")},
        {here, Work("x")},
        {"Z:both", Work("both")},
        {"Z:", Work()},
        {"Z:\\", "/"},
        {"none\\..\\.\\\\both", Work("both")},
        {"..\\..\\..\\..\\..\\..\\..\\..\\dev", "/dev"},
        {"", ""},
        {"C:\\x", ""},
        {"\\\\server\\share", ""},
        {"a\0b"s, ""},
    };
    for (const auto& [windows, host] : cases)
        EXPECT_EQ(HostPath(windows), host) << windows;
}

TEST_F(Paths, a_name_that_fits_several_entries_opens_none_and_each_ones_path_leads_to_it) {
    struct {
        const char *one, *other, *name;
    } const cases[] = {
        {"日本", "中国", "??"},
        {"日.nbf", "中.nbf", "?.nbf"},
        {"?mage", "Ωmage", "?mage"},
        {"twins", "TWINS", "Twins"},
    };
    for (const auto& [one, other, name] : cases) {
        WriteFileBytes(Work(one) + "/x", "x");
        WriteFileBytes(Work(other) + "/x", "x");
        for (const std::string& folder : {Work(one), Work(other)}) {
            char path[MAX_PATH] = "";
            std::filesystem::current_path(folder);
            const DWORD length = GetCurrentDirectoryA(sizeof(path), path);
            EXPECT_EQ(GetCurrentDirectoryA(length, path), length + 1) << "no place for the end";
            std::filesystem::current_path(Work());
            EXPECT_EQ(HostPath(path + "\\X"s), folder + "/x");
        }
        EXPECT_FALSE(std::filesystem::exists(HostPath(name))) << name;
        EXPECT_FALSE(std::filesystem::exists(HostPath(name + "\\x"s))) << name;
        std::filesystem::remove_all(Work(one));
        EXPECT_EQ(HostPath(name), Work(other));
        std::filesystem::remove_all(Work(other));
    }
}

// By its name it runs first: the layer chooses its home once in a process.
TEST(HomeDeathTest, a_home_that_others_may_write_or_own_is_refused_before_anything_is_read_in_it) {
    struct {
        const char* command; // makes the home "h"
        const char* message; // with exit code 2; null: the home is used
    } const cases[] = {
        {"true", nullptr},
        {"mkdir -m 755 h h/windows", nullptr},
        {"mkdir -m 720 h", "ROM_WIZARD_HOME: others may write in .*/h .mode 0720.*chmod"},
        {"mkdir -m 702 h", "others may write in .*/h "},
        {"mkdir -m 700 h; mkdir -m 777 h/ports", "others may write in .*/h/ports "},
        {"mkdir -m 700 h; mkdir -m 775 h/windows", "others may write in .*/h/windows "},
        {"mkdir -m 700 h; chown 1 h", "/h belongs to user 1, not to user 0 "},
    };
    std::filesystem::current_path(Work());
    for (const auto& [command, message] : cases) {
        if (std::strstr(command, "chown") && geteuid() != 0)
            continue;
        std::filesystem::remove_all("h");
        const auto use = [command = command] {
            setenv("ROM_WIZARD_HOME", "h", 1);
            _exit(std::system(command) == 0 && !FindWindowA("none", nullptr) ? 0 : 9);
        };
        EXPECT_EXIT(use(), testing::ExitedWithCode(message ? 2 : 0), message ? message : "")
            << command;
        EXPECT_EQ(std::filesystem::exists("h/windows/.last"), !message) << command;
    }
}

TEST(Text, every_byte_has_a_wide_character_of_its_own) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    EXPECT_EQ(platform::AnsiFromUtf16(platform::Utf16FromAnsi(all)), all);
    EXPECT_EQ(platform::AnsiFromUtf8(platform::Utf8FromAnsi(all)), all);
    EXPECT_EQ(platform::Utf16FromAnsi("\x80\x9F\xE9\x81"), u"\u20AC\u0178\u00E9\u0081");
    EXPECT_EQ(platform::AnsiFromUtf16(u"\u03A9\u0100\xD83D\xDE00"), "????");
    EXPECT_EQ(platform::AnsiFromUtf8("\xF0\x9F\x98\x80\xCE\xA9"), "??");
}

TEST(Text, malformed_text_is_replaced) {
    const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    EXPECT_EQ(platform::Utf8FromUtf16(platform::Utf16FromUtf8(text)), text);
    EXPECT_TRUE(platform::IsUtf8(text));
    for (const char* malformed : {"\xE9", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80",
                                  "\xF4\x90\x80\x80", "\xE2\x82", "\x80", "\xFF"}) {
        EXPECT_FALSE(platform::IsUtf8(malformed));
        EXPECT_EQ(platform::Utf16FromUtf8(malformed)[0], u'\uFFFD');
    }
    EXPECT_EQ(platform::Utf8FromUtf16(u"\xD800"), "\xEF\xBF\xBD");
}

} // namespace
