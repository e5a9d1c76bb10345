// The handheld's clock: the record that it receives, byte by byte, in zones of every kind.

#include "device/clock.h"

#include "testing/wizard_fixture.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

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
    static void SetZone(const char* zone) { setenv("TZ", zone, 1); }

    void TearDown() override {
        unsetenv("TZ");
        HandheldTest::TearDown();
    }
};

int Word(const std::string& record, std::size_t at) {
    std::int16_t word = 0;
    std::memcpy(&word, record.data() + at, sizeof(word));
    return word;
}

int Long(const std::string& record, std::size_t at) {
    std::int32_t number = 0;
    std::memcpy(&number, record.data() + at, sizeof(number));
    return number;
}

// Up to its terminator; what is behind it is zero.
std::string Name(const std::string& record, std::size_t at) {
    std::string name;
    for (std::size_t unit = 0; unit < 32; ++unit)
        name += static_cast<char>(Word(record, at + 2 * unit));
    const std::size_t end = name.find('\0');
    EXPECT_EQ(name.find_first_not_of('\0', end), std::string::npos);
    return name.substr(0, end);
}

// Year, month, weekday, week in the month, hour, minute, second, milliseconds.
std::vector<int> Date(const std::string& record, std::size_t at) {
    std::vector<int> words;
    for (std::size_t word = 0; word < 8; ++word)
        words.push_back(Word(record, at + 2 * word));
    return words;
}

std::time_t Utc(const std::string& record) {
    tm broken{};
    broken.tm_year = Word(record, 172) - 1900;
    broken.tm_mon = Word(record, 174) - 1;
    broken.tm_mday = Word(record, 178);
    broken.tm_hour = Word(record, 180);
    broken.tm_min = Word(record, 182);
    broken.tm_sec = Word(record, 184);
    const std::time_t time = timegm(&broken);
    EXPECT_EQ(broken.tm_wday, Word(record, 176));
    EXPECT_LT(Word(record, 186), 1000);
    return time;
}

const std::vector<int> Never(8, 0);

// At any time of the year one of the two with seasons is in summer and the other in winter.
TEST_F(DeviceClock, gets_the_zone_unchanged_and_the_time_in_utc) {
    const struct {
        const char* zone;
        int bias, daylightBias;
        const char *standard, *daylight;
        std::vector<int> standardDate, daylightDate;
    } zones[] = {
        {"UTC0", 0, 0, "UTC", "UTC", Never, Never},
        {"IST-5:30", -330, 0, "IST", "IST", Never, Never},
        {"NST3:30NDT,M3.2.0,M11.1.0",
         210,
         -60,
         "NST",
         "NDT",
         {0, 11, 0, 1, 2, 0, 0, 0},
         {0, 3, 0, 2, 2, 0, 0, 0}},
        {"AEST-10AEDT,M10.1.0,M4.1.0/3",
         -600,
         -60,
         "AEST",
         "AEDT",
         {0, 4, 0, 1, 3, 0, 0, 0},
         {0, 10, 0, 1, 2, 0, 0, 0}},
    };
    Connect();
    for (const auto& zone : zones) {
        SetZone(zone.zone);
        const std::time_t before = std::time(nullptr);
        SetDeviceClock();
        const std::string record = Record();
        ASSERT_EQ(188U, record.size()) << zone.zone;
        EXPECT_EQ(zone.bias, Long(record, 0)) << zone.zone;
        EXPECT_EQ(zone.standard, Name(record, 4));
        EXPECT_EQ(zone.standardDate, Date(record, 68)) << zone.zone;
        EXPECT_EQ(0, Long(record, 84));
        EXPECT_EQ(zone.daylight, Name(record, 88));
        EXPECT_EQ(zone.daylightDate, Date(record, 152)) << zone.zone;
        EXPECT_EQ(zone.daylightBias, Long(record, 168)) << zone.zone;
        EXPECT_LE(before, Utc(record));
        EXPECT_GE(std::time(nullptr), Utc(record));
    }
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
    EXPECT_TRUE(Device().Handheld().Has("WriteFile \\Windows\\Clepsa.dll 256"));
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
