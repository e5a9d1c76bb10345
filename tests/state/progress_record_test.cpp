// The record of an interrupted upgrade, through the real registry of the platform: what is stored
// to the byte, and what is read from records that are odd.

#include "state/progress_record.h"

#include "state/state.h"
#include "testing/registry_values.h"
#include "testing/test_home.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <utility>

namespace {

using namespace std::string_literals;

constexpr char RecordKey[] = "Software\\FlashUtility";

class ProgressRecord : public testing::Test {
protected:
    static void SetUpTestSuite() { test_support::HomeOfTests(); }

    void SetUp() override {
        DeleteProgressRecord();
        std::strcpy(State.Paths.LanguageFolder, "French");
        std::strcpy(State.Handheld.DeviceModel, "TOLKP1000");
        std::strcpy(State.Handheld.DeviceLanguage, "FRE");
        std::strcpy(State.Handheld.DeviceVersionText, "1.14");
        std::strcpy(State.Paths.ImagePath, "Z:\\images\\rom\xE9.nbf");
        State.Run.SerialLinkSelected = true;
        State.Run.BootloaderResume = false;
    }

    static std::string Read(const char* name) {
        return test_support::ValueOf(HKEY_CURRENT_USER, RecordKey, name);
    }

    static void Write(const char* name, DWORD type, const std::string& data) {
        test_support::StoreValue(HKEY_CURRENT_USER, RecordKey, name, type, data);
    }

    const std::filesystem::path registry_ = test_support::HomeOfTests().Home() / "registry.reg";

    static std::string Padded(std::string text, std::size_t size) {
        text.resize(size, '\0');
        return text;
    }
};

TEST_F(ProgressRecord, is_stored_to_the_byte) {
    std::memset(State.Paths.LanguageFolder + sizeof("French"), 'x', 5); // of an earlier text
    WriteProgressRecord();
    const std::pair<const char*, std::string> values[] = {
        {"Flash", "4:\1\0\0\0"s},
        {"Language", "1:" + Padded("French", 20)},
        {"ModelID", "1:" + Padded("TOLKP1000", 15)},
        {"Lang", "1:" + Padded("FRE", 10)},
        {"Version", "1:" + Padded("1.14", 20)},
        {"USB", "4:\0\0\0\0"s},
        {"FlashFile", "1:Z:\\images\\rom\xE9.nbf"}, // no terminator
    };
    for (const auto& [name, stored] : values)
        EXPECT_EQ(stored, Read(name)) << name;
}

TEST_F(ProgressRecord, comes_back_whole_in_the_next_run) {
    State.Run.SerialLinkSelected = false;
    WriteProgressRecord();
    MarkCriticalFailure();
    State.Paths = {};
    for (auto* text : {State.Handheld.DeviceModel, State.Handheld.DeviceLanguage,
                       State.Handheld.DeviceVersionText})
        text[0] = '\0';
    State.Run.SerialLinkSelected = true;
    EXPECT_TRUE(ReadProgressRecord());
    EXPECT_STREQ("French", State.Paths.LanguageFolder);
    EXPECT_STREQ("TOLKP1000", State.Handheld.DeviceModel);
    EXPECT_STREQ("FRE", State.Handheld.DeviceLanguage);
    EXPECT_STREQ("1.14", State.Handheld.DeviceVersionText);
    EXPECT_STREQ("Z:\\images\\rom\xE9.nbf", State.Paths.ImagePath);
    EXPECT_FALSE(State.Run.SerialLinkSelected);
    EXPECT_TRUE(State.Run.BootloaderResume);
    DeleteProgressRecord();
    EXPECT_FALSE(ReadProgressRecord());
}

TEST_F(ProgressRecord, of_a_number_only_the_first_byte_counts) {
    Write("Flash", REG_DWORD, std::string("\0\1\0\0", 4)); // 256
    EXPECT_FALSE(ReadProgressRecord());
    Write("Flash", REG_DWORD, std::string("\1\1\0\0", 4)); // 0x101
    EXPECT_TRUE(ReadProgressRecord());
}

TEST_F(ProgressRecord, with_critical_alone_is_not_pending_but_marks_the_bootloader) {
    MarkCriticalFailure();
    EXPECT_FALSE(ReadProgressRecord());
    EXPECT_TRUE(State.Run.BootloaderResume);
}

// The note does not decide what the next run does.
TEST_F(ProgressRecord, has_a_note_beside_it_that_changes_none_of_its_values_and_goes_with_it) {
    WriteProgressRecord();
    EXPECT_FALSE(NoteClosedPort());
    NoteHeldBackBlock();
    EXPECT_TRUE(ReadProgressRecord());
    EXPECT_FALSE(State.Run.BootloaderResume);
    EXPECT_TRUE(HeldBackBlockNoted());
    EXPECT_FALSE(NoteClosedPort());
    EXPECT_TRUE(NoteClosedPort());
    WriteProgressRecord(); // another transfer
    EXPECT_FALSE(HeldBackBlockNoted());
    NoteHeldBackBlock();
    EXPECT_FALSE(NoteClosedPort());
    DeleteProgressRecord();
    EXPECT_FALSE(HeldBackBlockNoted());
}

TEST_F(ProgressRecord, is_read_by_names_in_any_case_and_without_values_that_do_not_fit) {
    Write("a long one", REG_BINARY, std::string(300, 'z'));
    Write("FLASH", REG_DWORD, std::string("\1\0\0\0", 4));
    Write("modelid", REG_SZ, std::string(100, 'M'));
    EXPECT_TRUE(ReadProgressRecord());
    EXPECT_EQ(std::string(14, 'M'), State.Handheld.DeviceModel);
}

TEST_F(ProgressRecord, names_no_image_rather_than_another_one_where_the_path_does_not_fit) {
    const std::string fits = "Z:\\" + std::string(256, 'f');
    for (const auto& [stored, read] :
         {std::pair{fits, fits}, {fits + "f", ""s}, {fits + '\0', fits}}) {
        Write("FlashFile", REG_SZ, stored);
        ReadProgressRecord();
        EXPECT_EQ(read, State.Paths.ImagePath);
    }
}

// The reading has to end, or no page would ever come up.
TEST_F(ProgressRecord, is_read_up_to_its_thousandth_value) {
    for (const int others : {999, 1000}) {
        std::string file = "Windows Registry Editor Version 5.00\n\n"
                           "[HKEY_CURRENT_USER\\Software\\FlashUtility]\n";
        for (int number = 0; number < others; ++number)
            file += "\"A" + std::to_string(number) + "\"=dword:00000001\n";
        test_support::WriteFileBytes(registry_, file + "\"Flash\"=dword:00000001\n");
        EXPECT_EQ(others == 999, ReadProgressRecord());
    }
}

TEST_F(ProgressRecord, that_cannot_be_written_stops_nothing) {
    std::filesystem::remove(registry_);
    std::filesystem::create_directory(registry_);
    WriteProgressRecord();
    MarkCriticalFailure();
    NoteHeldBackBlock();
    EXPECT_FALSE(ReadProgressRecord() || HeldBackBlockNoted());
    std::filesystem::remove(registry_);
    WriteProgressRecord();
    EXPECT_TRUE(ReadProgressRecord());
}

} // namespace
