// The simulated handheld answers RAPI as a handheld would: files, registry, programs, and malformed
// frames.

#include "testing/comes_true.h"
#include "testing/cradle.h"
#include "testing/pc_side.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <tuple>
#include <utility>

using namespace test_support;
using rapi_wire::Operation;
using rapi_wire::Writer;

namespace {

constexpr std::uint32_t ReadAccess = 0x80000000;
constexpr std::uint32_t WriteAccess = 0x40000000;
constexpr std::uint32_t LocalMachine = 0x80000002;
enum : std::uint32_t { New = 1, Always = 2, Existing = 3 };

class RapiTest : public testing::Test {
protected:
    void Start(const std::vector<std::string>& run = {}) {
        rapi_.reset();
        cradle_.reset();
        std::filesystem::remove_all(home_.Device());
        cradle_.emplace(home_, CradleOptions{.run = run, .withManager = false});
        rapi_.emplace(home_);
    }

    std::uint32_t Error(Operation operation, const Writer& arguments) {
        return rapi_->Call(operation, arguments).error;
    }
    std::uint32_t Delete(std::u16string_view path) {
        return Error(Operation::DeleteFile, Writer().Text(path));
    }

    std::vector<std::u16string> Find(std::u16string_view pattern) {
        std::vector<std::u16string> names;
        auto reply = rapi_->Call(Operation::FindFirstFile, Writer().Text(pattern));
        const std::uint32_t search = reply.result;
        for (bool found = search != 0xFFFFFFFF; found; found = reply.result != 0) {
            const std::uint32_t attributes = reply.outputs.Number();
            names.push_back(reply.outputs.Text() + (attributes == 16 ? u"\\" : u""));
            reply = rapi_->Call(Operation::FindNextFile, Writer().Number(search));
        }
        rapi_->Call(Operation::FindClose, Writer().Number(search));
        return names;
    }

    ByteList Agent(const std::string& name) {
        if (!std::filesystem::exists(home_.Tree() / "English"))
            home_.RunHandheld({"make-agents", (home_.Tree() / "English").string()});
        return ReadFileBytes(home_.Tree() / "English" / name);
    }

    TestHome home_;
    std::optional<Cradle> cradle_;
    std::optional<RapiClient> rapi_;
};

TEST_F(RapiTest, dispositions_and_paths_give_the_errors_of_the_device) {
    Start();
    struct Case {
        const char16_t* path;
        std::uint32_t access, disposition, error;
    };
    const Case cases[] = {
        {u"\\Temp\\a.txt", ReadAccess, Existing, 2},
        {u"\\Temp\\a.txt", WriteAccess, New, 0},
        {u"\\Temp\\A.TXT", WriteAccess, New, 80},
        {u"\\temp\\A.txt", ReadAccess, Existing, 0},
        {u"temp\\a.txt", WriteAccess, Always, 0},
        {u"\\Nowhere\\a.txt", WriteAccess, Always, 3},
        {u"\\Temp", ReadAccess, Existing, 5},
        {u"\\Windows\\Morvikor.exe", WriteAccess, Existing, 5},
        {u"\\Windows\\Morvikor.exe", ReadAccess, Existing, 0},
        {u"\\Temp\\..\\..\\identity", ReadAccess, Existing, 123},
        {u"\\Temp/../../identity", ReadAccess, Existing, 123},
        {u"\\Temp\\", ReadAccess, Existing, 123},
        {u"\\Temp\\a.txt", ReadAccess, 9, 87},
    };
    for (const Case& one : cases)
        EXPECT_EQ(rapi_->CreateFile(one.path, one.access, 0, one.disposition, 0x80), one.error)
            << std::string(one.path, one.path + std::char_traits<char16_t>::length(one.path)) << " "
            << one.disposition;
    EXPECT_TRUE(std::filesystem::exists(cradle_->File("Temp/a.txt")));
    EXPECT_EQ(Delete(u"\\Windows\\Morvikor.exe"), 5u);
    EXPECT_EQ(Delete(u"\\Temp\\b.txt"), 2u);
    EXPECT_EQ(Delete(u"\\TEMP\\A.txt"), 0u);
}

TEST_F(RapiTest, share_modes_count_and_an_open_file_stays) {
    Start();
    rapi_->Push(u"\\Temp\\a", {1, 2, 3});
    std::uint32_t handle = 0;
    ASSERT_EQ(rapi_->CreateFile(u"\\Temp\\a", ReadAccess, 1, Existing, 0, &handle), 0u);
    EXPECT_EQ(rapi_->CreateFile(u"\\Temp\\a", ReadAccess, 0, Existing, 0), 32u);
    EXPECT_EQ(rapi_->CreateFile(u"\\Temp\\a", ReadAccess | WriteAccess, 3, Existing, 0), 32u);
    EXPECT_EQ(rapi_->CreateFile(u"\\Temp\\a", ReadAccess, 1, Existing, 0), 0u);
    EXPECT_EQ(Delete(u"\\Temp\\a"), 32u);
    EXPECT_EQ(Error(Operation::MoveFile, Writer().Text(u"\\Temp\\a").Text(u"\\Temp\\b")), 32u);
    EXPECT_EQ(Error(Operation::WriteFile, Writer().Number(handle).Data("x", 1)), 5u);
    EXPECT_EQ(rapi_->Call(Operation::GetFileSize, Writer().Number(handle)).result, 3u);
    // A connection that ends closes what it had open.
    rapi_.emplace(home_);
    cradle_->Handheld().ExpectLine("RAPI GetFileSize");
    EXPECT_TRUE(ComesTrue([&] { return Delete(u"\\Temp\\a") != 32; }));
    EXPECT_EQ(Error(Operation::ReadFile, Writer().Number(handle).Number(1)), 6u);
}

TEST_F(RapiTest, names_keep_their_case_and_attributes_through_move_copy_and_restart) {
    Start();
    rapi_->Push(u"\\Temp\\Été.lnk", {'x'}); // pushed files are hidden
    EXPECT_EQ(rapi_->CreateFile(u"\\temp\\éTÉ.LNK", ReadAccess, 1, Existing, 0), 0u);
    EXPECT_EQ(Error(Operation::CreateDirectory, Writer().Text(u"\\Temp\\Spiele")), 0u);
    EXPECT_EQ(Error(Operation::CreateDirectory, Writer().Text(u"\\temp\\spiele")), 183u);
    const auto copy = [&](std::uint32_t failIfExists) {
        return Error(Operation::CopyFile, Writer()
                                              .Text(u"\\Temp\\Été.lnk")
                                              .Text(u"\\Temp\\Spiele\\Été.lnk")
                                              .Number(failIfExists));
    };
    EXPECT_EQ(copy(1), 0u);
    EXPECT_EQ(copy(1), 80u);
    EXPECT_EQ(copy(0), 0u);
    EXPECT_EQ(Error(Operation::MoveFile,
                    Writer().Text(u"\\Temp\\été.lnk").Text(u"\\Temp\\Spiele\\été.lnk")),
              183u);
    EXPECT_EQ(Error(Operation::MoveFile, Writer().Text(u"\\Temp\\été.lnk").Text(u"\\Temp\\B.txt")),
              0u);
    EXPECT_EQ(cradle_->Attributes("Temp/B.txt"), 0x22u);
    EXPECT_EQ(cradle_->Attributes("Temp/Spiele/Été.lnk"), 0x22u);

    cradle_->RestartHandheld();
    rapi_.emplace(home_);
    using Names = std::vector<std::u16string>;
    EXPECT_EQ(Find(u"\\temp\\*.*"), (Names{u"B.txt", u"Spiele\\"}));
    EXPECT_EQ(Find(u"\\Temp\\Spiele\\*.LNK"), Names{u"Été.lnk"});
    EXPECT_EQ(Find(u"\\Temp\\b.TXT"), Names{u"B.txt"});
    EXPECT_EQ(Find(u"\\Temp\\?.t*"), Names{u"B.txt"});
    EXPECT_EQ(Error(Operation::FindFirstFile, Writer().Text(u"\\Temp\\*.exe")), 18u);
    EXPECT_EQ(Error(Operation::FindFirstFile, Writer().Text(u"\\Nowhere\\*.*")), 3u);

    EXPECT_EQ(Error(Operation::RemoveDirectory, Writer().Text(u"\\Temp\\Spiele")), 145u);
    EXPECT_EQ(Delete(u"\\Temp\\Spiele"), 5u);
    EXPECT_EQ(Delete(u"\\Temp\\Spiele\\été.lnk"), 0u);
    EXPECT_EQ(Error(Operation::RemoveDirectory, Writer().Text(u"\\Temp\\Spiele")), 0u);
    EXPECT_EQ(Error(Operation::RemoveDirectory, Writer().Text(u"\\Temp\\Spiele")), 2u);
}

TEST_F(RapiTest, registry_values_keep_type_size_and_bytes) {
    Start();
    const auto open = [&](Operation operation, std::u16string_view path) {
        Writer arguments;
        arguments.Number(LocalMachine).Text(path);
        if (operation == Operation::RegOpenKey)
            arguments.Number(0);
        auto reply = rapi_->Call(operation, arguments);
        return std::pair(reply.result, reply.outputs.Number());
    };
    EXPECT_EQ(open(Operation::RegOpenKey, u"\\New\\Key").first, 2u);
    const auto [made, key] = open(Operation::RegCreateKey, u"\\New\\Key");
    ASSERT_EQ(made, 0u);
    const ByteList odd = {0, 0xFF, '"'};
    const auto set = [&, key = key](std::u16string_view name, std::uint32_t type,
                                    const ByteList& data) {
        return rapi_
            ->Call(Operation::RegSetValue,
                   Writer().Number(key).Text(name).Number(type).Data(data.data(), data.size()))
            .result;
    };
    EXPECT_EQ(set(u"Qu\"ote\\=é", 0, odd), 0u);
    EXPECT_EQ(set(u"", 7, {}), 0u);
    EXPECT_EQ(set(u"Number", 4, {1, 2, 3, 4}), 0u);
    EXPECT_EQ(set(u"NUMBER", 4, {5, 2, 3, 4}), 0u);
    rapi_->Call(Operation::RegCloseKey, Writer().Number(key));
    EXPECT_EQ(set(u"Number", 4, {}), 6u);

    cradle_->RestartHandheld();
    rapi_.emplace(home_);
    const auto [found, again] = open(Operation::RegOpenKey, u"new\\KEY");
    ASSERT_EQ(found, 0u);
    const auto query = [&, keyAgain = again](std::u16string_view name, std::uint32_t capacity) {
        auto reply = rapi_->Call(Operation::RegQueryValue,
                                 Writer().Number(keyAgain).Text(name).Number(capacity));
        const std::uint32_t type = reply.outputs.Number();
        return std::tuple(reply.result, type, reply.outputs.Data());
    };
    EXPECT_EQ(query(u"qu\"ote\\=É", 3), std::tuple(0u, 0u, odd));
    EXPECT_EQ(query(u"qu\"ote\\=É", 2), std::tuple(234u, 0u, ByteList{}));
    EXPECT_EQ(query(u"", 0), std::tuple(0u, 7u, ByteList{}));
    EXPECT_EQ(std::get<0>(query(u"none", 9)), 2u);
    EXPECT_EQ(cradle_->RegistryValue("New\\Key", "Number"), (StoredValue{4, {5, 2, 3, 4}}));

    const auto remove = [&](std::u16string_view path) {
        return rapi_->Call(Operation::RegDeleteKey, Writer().Number(LocalMachine).Text(path))
            .result;
    };
    EXPECT_EQ(remove(u"\\NEW"), 0u);
    EXPECT_EQ(remove(u"\\NEW"), 2u);
    EXPECT_FALSE(cradle_->HasRegistryKey("New\\Key"));
    EXPECT_TRUE(cradle_->HasRegistryKey("Drivers\\NvnDisk"));
}

TEST_F(RapiTest, a_program_that_is_not_whole_does_not_run) {
    Start();
    EXPECT_EQ(rapi_->StartProgram(u"\\Temp\\Tesselor.exe"), 2u);
    ByteList part = Agent("Tesselor.exe");
    part.pop_back();
    rapi_->Push(u"\\Temp\\Tesselor.exe", part);
    EXPECT_EQ(rapi_->StartProgram(u"\\Temp\\Tesselor.exe"), 193u);
    rapi_->Push(u"\\Temp\\Tesselor.exe", Agent("sarvel.exe"));
    EXPECT_EQ(rapi_->StartProgram(u"\\Temp\\Tesselor.exe"), 193u);
    EXPECT_FALSE(std::filesystem::exists(cradle_->File("Temp/type.dat")));

    // The flasher starts and finds out by itself that it cannot work.
    rapi_->Push(u"\\Temp\\Harbel_Link.exe", Agent("Harbel_Link.exe"));
    ByteList line = Agent("harbel_line.nb");
    line[100] ^= 1;
    rapi_->Push(u"\\Temp\\harbel_line.nb", line);
    for (const char16_t* commandLine : {u"\x01 U", u"\x02 U", u"\x03 U", u"\x01 U ", u""}) {
        EXPECT_EQ(rapi_->StartProgram(u"\\Temp\\Harbel_Link.exe", commandLine), 0u);
        EXPECT_EQ(rapi_->Call(Operation::Hello).result, 1u);
    }
    EXPECT_EQ(cradle_->StatusOf("mode"), "normal");
}

TEST_F(RapiTest, the_asset_file_holds_model_version_and_language) {
    const auto field = [](const ByteList& file, std::size_t at, std::size_t units) {
        std::string text;
        for (std::size_t unit = 0; unit < units; ++unit)
            text += static_cast<char>(file.at(at + 2 * unit));
        return text;
    };
    Start();
    ASSERT_EQ(rapi_->StartProgram(u"\\Windows\\Morvikor.exe"), 0u);
    const ByteList file = rapi_->ReadFile(u"\\Windows\\nvnAssetData.dat");
    EXPECT_GE(file.size(), 12000u);
    EXPECT_EQ(field(file, 152, 9), "TOLKP1000");
    EXPECT_EQ(field(file, 2556, 11), "1.10.00 ENG");

    Start({"--asset-zero", "2"});
    rapi_->StartProgram(u"\\Windows\\Morvikor.exe");
    EXPECT_EQ(field(rapi_->ReadFile(u"\\Windows\\nvnAssetData.dat"), 2556, 11),
              std::string("1.\0000.00 ENG", 11));

    Start({"--asset-size", "100"});
    rapi_->StartProgram(u"\\Windows\\Morvikor.exe");
    EXPECT_EQ(rapi_->ReadFile(u"\\Windows\\nvnAssetData.dat").size(), 100u);

    Start({"--refuse-program", "morvikor.EXE"});
    EXPECT_EQ(rapi_->StartProgram(u"\\Windows\\Morvikor.exe"), 14u);
}

TEST_F(RapiTest, pushed_programs_report_the_flash_size_and_deliver_the_flash) {
    Start({"--piece-late", "3", "--piece-tries", "9"});
    rapi_->Push(u"\\Temp\\Tesselor.exe", Agent("Tesselor.exe"));
    ASSERT_EQ(rapi_->StartProgram(u"\\Temp\\Tesselor.exe"), 0u);
    EXPECT_EQ(rapi_->ReadFile(u"\\temp\\type.dat").at(1), 2u);

    rapi_->Push(u"\\Temp\\sarvel.exe", Agent("sarvel.exe"));
    ASSERT_EQ(rapi_->StartProgram(u"\\Temp\\sarvel.exe"), 0u);
    const ByteList flash = ReadFileBytes(home_.Device() / "flash.bin");
    for (std::size_t at = 0; at < 2 * 0x40000; at += 0x40000) {
        ByteList piece;
        ASSERT_TRUE(ComesTrue([&] {
            piece = rapi_->ReadFile(u"\\Temp\\image.nb");
            return !piece.empty();
        }));
        const auto begin = flash.begin() + static_cast<std::ptrdiff_t>(at);
        EXPECT_TRUE(piece == ByteList(begin, begin + 0x40000)) << at;
        EXPECT_EQ(Delete(u"\\Temp\\image.nb"), 0u);
    }
    // Without its program the third piece, which has been begun, is deleted.
    EXPECT_EQ(Delete(u"\\Temp\\image.nb"), 32u);
    EXPECT_EQ(Delete(u"\\Temp\\sarvel.exe"), 0u);
    EXPECT_EQ(Delete(u"\\Temp\\image.nb"), 2u);
}

TEST_F(RapiTest, the_clock_is_set_only_by_a_whole_library_and_a_whole_record) {
    Start();
    ByteList record(188);
    const std::uint8_t time[] = {0xE8, 7, 11, 0, 0, 0, 24, 0, 21, 0, 5, 0, 9, 0, 0, 0};
    std::copy(std::begin(time), std::end(time), record.begin() + 172);
    const auto invoke = [&](std::u16string_view function, const ByteList& input) {
        return rapi_
            ->Call(Operation::Invoke,
                   Writer().Text(u"Clepsa.dll").Text(function).Data(input.data(), input.size()))
            .result;
    };
    EXPECT_NE(invoke(u"ClepsaSet", record), 0u);
    rapi_->Push(u"\\Windows\\Clepsa.dll", Agent("Clepsa.dll"));
    EXPECT_NE(invoke(u"ClepsaSet", ByteList(187)), 0u);
    EXPECT_NE(invoke(u"ClepsaGet", record), 0u);
    EXPECT_EQ(cradle_->StatusOf("clock"), "never set");
    EXPECT_EQ(invoke(u"ClepsaSet", record), 0u);
    EXPECT_EQ(cradle_->StatusOf("clock"), "2024-11-24 21:05:09 UTC, bias 0 minutes");
}

TEST_F(RapiTest, a_malformed_frame_ends_its_connection_and_no_other) {
    Start();
    const ByteList frames[] = {
        {0xFF, 0xFF, 0xFF, 0x7F},                                // longer than allowed
        {4, 0, 0, 0, 99, 0, 0, 0},                               // no such operation
        {0, 0, 0, 0},                                            // none at all
        {12, 0, 0, 0, 8, 0, 0, 0, 200, 0, 0, 0, 'a', 0, 'b', 0}, // a text beyond its frame
    };
    for (const ByteList& frame : frames) {
        RapiClient other(home_);
        other.SendRaw(frame);
        EXPECT_TRUE(other.Ended());
        EXPECT_EQ(rapi_->Call(Operation::Hello).result, 1u);
    }
    cradle_->RestartHandheld({"--drop-rapi-at", "DeleteFile \\Temp\\x"});
    rapi_.emplace(home_);
    EXPECT_EQ(Delete(u"\\Temp\\y"), 2u);
    EXPECT_THROW(Delete(u"\\Temp\\x"), std::runtime_error);
}

TEST_F(RapiTest, a_client_that_does_not_read_or_stops_in_a_frame_holds_up_no_other) {
    Start();
    const ByteList content(0x80000, 0x5A); // more than a socket buffers
    rapi_->Push(u"\\Temp\\large", content);
    RapiClient mute(home_);
    std::uint32_t handle = 0;
    ASSERT_EQ(mute.CreateFile(u"\\Temp\\large", ReadAccess, 1, Existing, 0, &handle), 0u);
    mute.SendRaw(Writer()
                     .Number(static_cast<std::uint32_t>(Operation::ReadFile))
                     .Number(handle)
                     .Number(0x80000)
                     .Frame());
    mute.SendRaw({4, 0, 0}); // of a greeting
    cradle_->Handheld().ExpectLine("RAPI ReadFile \\Temp\\large");
    EXPECT_EQ(rapi_->Call(Operation::Hello).result, 1u);
    mute.SendRaw({0, static_cast<std::uint8_t>(Operation::Hello), 0, 0, 0});
    EXPECT_TRUE(mute.Call(Operation::Hello).outputs.Data() == content);
    EXPECT_EQ(mute.Call(Operation::Hello).result, 1u);
}

TEST_F(RapiTest, the_power_status_follows_the_cable) {
    Start({"--battery"});
    const auto power = [&] {
        const ByteList record = rapi_->Call(Operation::GetSystemPowerStatus).outputs.Data();
        EXPECT_EQ(record.size(), 24u);
        return record.at(0);
    };
    EXPECT_EQ(power(), 0);
    Start({"--battery", "--battery-byte", "255"});
    EXPECT_EQ(power(), 255);
    home_.RunHandheld({"power", home_.Device().string(), "on"});
    EXPECT_EQ(power(), 1);
}

} // namespace
