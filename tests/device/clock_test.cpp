// The handheld's clock: the record that it receives, byte by byte.

#include "device/clock.h"

#include "testing/wizard_fixture.h"

#include <cstdlib>
#include <cstring>

namespace {

class DeviceClock : public HandheldTest {
protected:
    void Connect(const test_support::CradleOptions& options = {}) {
        HandheldTest::Connect(options);
        CeRapiUninit(); // the clock makes a connection of its own
        SetText(State.Image.ImageLanguageName, "English");
    }
    // What the handheld's library received last; empty: it was not called.
    std::string Record() { return ReadBytes(Home().Device() / "clock.record"); }

    void TearDown() override {
        unsetenv("TZ");
        HandheldTest::TearDown();
    }
};

// In the order in which times compare.
std::vector<int> Words(const SYSTEMTIME& time) {
    return {time.wYear,   time.wMonth,  time.wDay,          time.wHour,
            time.wMinute, time.wSecond, time.wMilliseconds, time.wDayOfWeek};
}

TEST_F(DeviceClock, gets_the_zone_unchanged_and_the_time_in_utc) {
    Connect();
    setenv("TZ", "NST3:30NDT,M3.2.0,M11.1.0", 1);
    SYSTEMTIME before{}, time{}, after{};
    GetSystemTime(&before);
    SetDeviceClock();
    GetSystemTime(&after);
    Device().Handheld().ExpectLine("RAPI Invoke");
    Device().Handheld().ExpectLine("RAPI connection ended");
    const std::string record = Record();
    TIME_ZONE_INFORMATION zone{};
    ASSERT_EQ(188U, record.size());
    std::memcpy(&zone, record.data(), 172);
    std::memcpy(&time, record.data() + 172, 16);
    EXPECT_EQ(210, zone.Bias);
    EXPECT_STREQ(L"NST", std::wstring(zone.StandardName, zone.StandardName + 32).c_str());
    EXPECT_EQ((std::vector<int>{0, 11, 1, 2, 0, 0, 0, 0}), Words(zone.StandardDate));
    EXPECT_EQ(0, zone.StandardBias);
    EXPECT_STREQ(L"NDT", std::wstring(zone.DaylightName, zone.DaylightName + 32).c_str());
    EXPECT_EQ((std::vector<int>{0, 3, 2, 2, 0, 0, 0, 0}), Words(zone.DaylightDate));
    EXPECT_EQ(-60, zone.DaylightBias);
    EXPECT_LE(Words(before), Words(time));
    EXPECT_GE(Words(after), Words(time));
    EXPECT_TRUE(time.wDayOfWeek == before.wDayOfWeek || time.wDayOfWeek == after.wDayOfWeek);
    EXPECT_NE("never set", Device().StatusOf("clock"));
    EXPECT_EQ("", Device().Refused());
}

TEST_F(DeviceClock, library_replaces_an_old_one_and_is_not_hidden) {
    Connect();
    WriteFileBytes(Device().File("Windows/Clepsa.dll"), std::string(70000, 'x'));
    SetDeviceClock();
    EXPECT_EQ(test_support::ReadFileBytes(Folder() / "Clepsa.dll"),
              test_support::ReadFileBytes(Device().File("Windows/Clepsa.dll")));
    EXPECT_EQ(0x20U, Device().Attributes("Windows/Clepsa.dll"));
    Device().Handheld().ExpectLine("CreateFile \\Windows\\Clepsa.dll  access 0x40000000, share 1,");
    Device().Handheld().ExpectLine("WriteFile \\Windows\\Clepsa.dll 256");
    EXPECT_FALSE(Record().empty());
}

TEST_F(DeviceClock, without_its_library_or_a_handheld_nothing_happens) {
    Connect({.run = {"--refuse-call", "CreateFile \\Windows\\Clepsa.dll"}});
    SetDeviceClock();
    EXPECT_EQ("", Record());
    Device().RestartHandheld();
    SetText(State.Image.ImageLanguageName, "French");
    SetDeviceClock();
    EXPECT_FALSE(IsOnDevice("Windows/Clepsa.dll"));
    EXPECT_EQ("", Record());
    SetText(State.Image.ImageLanguageName, "English");
    Device().TakeOut();
    SetDeviceClock();
    EXPECT_EQ("", Record());
}

} // namespace
