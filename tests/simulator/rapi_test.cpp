// The simulated handheld refuses over RAPI what a handheld would.

#include "testing/cradle.h"
#include "testing/pc_side.h"

#include <gtest/gtest.h>

using namespace test_support;
using rapi_wire::Operation;
using rapi_wire::Writer;

namespace {

constexpr std::uint32_t ReadAccess = 0x80000000;
constexpr std::uint32_t WriteAccess = 0x40000000;
enum : std::uint32_t { New = 1, Always = 2, Existing = 3 };

class RapiTest : public testing::Test {
protected:
    std::uint32_t Error(Operation operation, const Writer& arguments) {
        return rapi_.Call(operation, arguments).error;
    }
    std::uint32_t Delete(std::u16string_view path) {
        return Error(Operation::DeleteFile, Writer().Text(path));
    }

    TestHome home_;
    Cradle cradle_{home_, {.withManager = false}};
    RapiClient rapi_{home_};
};

TEST_F(RapiTest, dispositions_and_paths_give_the_errors_of_the_device) {
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
        EXPECT_EQ(rapi_.CreateFile(one.path, one.access, 0, one.disposition, 0x80), one.error)
            << std::string(one.path, one.path + std::char_traits<char16_t>::length(one.path)) << " "
            << one.disposition;
    EXPECT_TRUE(std::filesystem::exists(cradle_.File("Temp/a.txt")));
    EXPECT_EQ(Delete(u"\\Windows\\Morvikor.exe"), 5u);
    EXPECT_EQ(Delete(u"\\Temp\\b.txt"), 2u);
    EXPECT_EQ(Delete(u"\\TEMP\\A.txt"), 0u);
}

TEST_F(RapiTest, share_modes_count_and_a_closed_file_may_go) {
    rapi_.Push(u"\\Temp\\a", {1, 2, 3});
    std::uint32_t handle = 0;
    ASSERT_EQ(rapi_.CreateFile(u"\\Temp\\a", ReadAccess, 1, Existing, 0, &handle), 0u);
    EXPECT_EQ(rapi_.CreateFile(u"\\Temp\\a", ReadAccess, 0, Existing, 0), 32u);
    EXPECT_EQ(rapi_.CreateFile(u"\\Temp\\a", ReadAccess | WriteAccess, 3, Existing, 0), 32u);
    EXPECT_EQ(rapi_.CreateFile(u"\\Temp\\a", ReadAccess, 1, Existing, 0), 0u);
    EXPECT_EQ(Delete(u"\\Temp\\a"), 32u);
    EXPECT_EQ(Error(Operation::MoveFile, Writer().Text(u"\\Temp\\a").Text(u"\\Temp\\b")), 32u);
    EXPECT_EQ(Error(Operation::WriteFile, Writer().Number(handle).Data("x", 1)), 5u);
    EXPECT_EQ(Error(Operation::RemoveDirectory, Writer().Text(u"\\Temp")), 145u);
    rapi_.CloseHandle(handle);
    EXPECT_EQ(Error(Operation::ReadFile, Writer().Number(handle).Number(1)), 6u);
    EXPECT_EQ(Delete(u"\\Temp\\a"), 0u);
}

} // namespace
