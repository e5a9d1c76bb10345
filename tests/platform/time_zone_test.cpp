// Time zones of the host as Windows describes them.

#include "platform/base/time_zone.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

constexpr std::time_t Winter = 1705320000; // 15 January 2024, 12:00 UTC
constexpr std::time_t Summer = 1721044800; // 15 July 2024, 12:00 UTC

std::string Text(const WCHAR* wide) {
    const std::u16string text(wide);
    return {text.begin(), text.end()};
}

// "month.week.day/hour:minute" as in TZ settings; "-" for none.
std::string Rule(const SYSTEMTIME& date) {
    if (date.wMonth == 0)
        return "-";
    const auto number = [](WORD value) { return std::to_string(value); };
    return number(date.wMonth) + "." + number(date.wDay) + "." + number(date.wDayOfWeek) + "/" +
           number(date.wHour) + ":" + number(date.wMinute);
}

struct Zone {
    const char* name;
    LONG bias, daylightBias;
    const char *daylight, *standard, *standardName, *daylightName;
    DWORD inWinter, inSummer; // of the northern half
};

// What Windows gives for these zones, but for the names, which are the host's.
const Zone Zones[] = {
    {"UTC", 0, 0, "-", "-", "UTC", "UTC", 0, 0},
    {"Asia/Kolkata", -330, 0, "-", "-", "IST", "IST", 0, 0},
    {"Europe/Paris", -60, -60, "3.5.0/2:0", "10.5.0/3:0", "CET", "CEST", 1, 2},
    {"Europe/Dublin", 0, -60, "3.5.0/1:0", "10.5.0/2:0", "GMT", "IST", 1, 2},
    {"America/New_York", 300, -60, "3.2.0/2:0", "11.1.0/2:0", "EST", "EDT", 1, 2},
    {"America/St_Johns", 210, -60, "3.2.0/2:0", "11.1.0/2:0", "NST", "NDT", 1, 2},
    {"Australia/Sydney", -600, -60, "10.1.0/2:0", "4.1.0/3:0", "AEST", "AEDT", 2, 1},
    {"Australia/Lord_Howe", -630, -30, "10.1.0/2:0", "4.1.0/2:0", "+1030", "+11", 2, 1},
    {"AAA3BBB,M3.4.6/1:30,M9.4.2/0", 180, -60, "3.4.6/1:30", "9.4.2/0:0", "AAA", "BBB", 1, 2},
    // The last Sunday of October 2024 is the fourth, that of 2023 the fifth.
    {"AAA0BBB,M3.4.0,M10.4.0", 0, -60, "3.4.0/2:0", "10.4.0/2:0", "AAA", "BBB", 1, 2},
    // Where no rule by weekday holds, the dates are those of the year: a Monday and a Tuesday.
    {"AAA0BBB,J91/1,J274/2", 0, -60, "4.1.1/1:0", "10.1.2/2:0", "AAA", "BBB", 1, 2},
};

TEST(TimeZone, biases_rules_and_season_are_those_of_windows) {
    if (!std::filesystem::exists("/usr/share/zoneinfo/Europe/Paris"))
        GTEST_SKIP() << "this host has no time zone data";
    for (const Zone& zone : Zones) {
        setenv("TZ", zone.name, 1);
        TIME_ZONE_INFORMATION info;
        EXPECT_EQ(platform::TimeZoneInformationAt(Summer, info), zone.inSummer) << zone.name;
        EXPECT_EQ(platform::TimeZoneInformationAt(Winter, info), zone.inWinter) << zone.name;
        EXPECT_EQ(info.Bias, zone.bias) << zone.name;
        EXPECT_EQ(info.StandardBias, 0) << zone.name;
        EXPECT_EQ(info.DaylightBias, zone.daylightBias) << zone.name;
        EXPECT_EQ(Rule(info.DaylightDate), zone.daylight) << zone.name;
        EXPECT_EQ(Rule(info.StandardDate), zone.standard) << zone.name;
        EXPECT_EQ(Text(info.StandardName), zone.standardName) << zone.name;
        EXPECT_EQ(Text(info.DaylightName), zone.daylightName) << zone.name;
    }
}

} // namespace
