// Time zone rules, found from the instants at which the host's offset from UTC changes in a year.
//
// Daylight saving time is the season with the greater offset from UTC, whatever the data call it:
// for Ireland they call the winter the exception. A rule date is "the second Sunday of March" or
// "the last Sunday"; which of the two is meant shows only over several years, so the following ones
// are compared too. Where no rule holds for all of them, the date given is right for this year.

#include "platform/base/time_zone.h"

#include "platform/base/text.h"

#include <iterator>
#include <optional>
#include <vector>

namespace platform {
namespace {

constexpr std::time_t SecondsPerDay = 86400;
constexpr int YearsCompared = 8; // in that time every weekday falls on every day of the month
constexpr int LastWeek = 5;

tm LocalTime(std::time_t instant) {
    tm local{};
    localtime_r(&instant, &local);
    return local;
}

long OffsetAt(std::time_t instant) { return LocalTime(instant).tm_gmtoff; }

// The instant at which the year starts in local time, to within a day, which is near enough.
std::time_t StartOfYear(int year) {
    tm start{};
    start.tm_year = year;
    start.tm_mday = 1;
    return timegm(&start);
}

// The first instant with the new offset.
std::time_t FindChange(std::time_t before, std::time_t after) {
    const long old = OffsetAt(before);
    while (after - before > 1) {
        const std::time_t middle = before + (after - before) / 2;
        (OffsetAt(middle) == old ? before : after) = middle;
    }
    return after;
}

std::vector<std::time_t> ChangesInYear(int year) {
    std::vector<std::time_t> changes;
    const std::time_t end = StartOfYear(year + 1);
    for (std::time_t day = StartOfYear(year); day < end; day += SecondsPerDay)
        if (OffsetAt(day) != OffsetAt(day + SecondsPerDay))
            changes.push_back(FindChange(day, day + SecondsPerDay));
    return changes;
}

// The clock on the wall when a season ends, which is how Windows gives the date.
tm WallClockBefore(std::time_t change) {
    std::time_t wall = change + OffsetAt(change - 1);
    tm broken{};
    gmtime_r(&wall, &broken);
    return broken;
}

bool IsInLastWeek(const tm& date) {
    tm later = date;
    later.tm_mday += 7;
    timegm(&later); // brings the date into the month where it belongs
    return later.tm_mon != date.tm_mon;
}

int WeekOf(const tm& date) { return (date.tm_mday - 1) / 7 + 1; }

bool SameRuleButWeek(const tm& one, const tm& other) {
    return one.tm_mon == other.tm_mon && one.tm_wday == other.tm_wday &&
           one.tm_hour == other.tm_hour && one.tm_min == other.tm_min;
}

// A change from one offset to another in a year, where it has exactly one.
std::optional<tm> ChangeInYear(int year, bool toGreater) {
    std::optional<tm> found;
    for (const std::time_t change : ChangesInYear(year)) {
        if ((OffsetAt(change) > OffsetAt(change - 1)) != toGreater)
            continue;
        if (found)
            return std::nullopt;
        found = WallClockBefore(change);
    }
    return found;
}

// 5 where the rule is "the last" in all the years compared; else the week of this year's month,
// where a fifth one is the last anyway.
int RuleWeek(int year, bool toGreater, const tm& date) {
    for (int next = year; next < year + YearsCompared; ++next) {
        const auto other = ChangeInYear(next, toGreater);
        if (!other || !SameRuleButWeek(*other, date) || !IsInLastWeek(*other))
            return WeekOf(date);
    }
    return LastWeek;
}

SYSTEMTIME RuleDate(int year, bool toGreater, const tm& date) {
    SYSTEMTIME rule{};
    rule.wMonth = static_cast<WORD>(date.tm_mon + 1);
    rule.wDayOfWeek = static_cast<WORD>(date.tm_wday);
    rule.wDay = static_cast<WORD>(RuleWeek(year, toGreater, date));
    rule.wHour = static_cast<WORD>(date.tm_hour);
    rule.wMinute = static_cast<WORD>(date.tm_min);
    return rule;
}

LONG Minutes(long seconds) { return static_cast<LONG>(seconds / 60); }

void CopyName(const char* name, WCHAR (&destination)[32]) {
    const auto wide = Utf16FromUtf8(name ? name : "");
    wide.copy(destination, std::size(destination) - 1);
}

DWORD WithoutSeasons(const tm& local, TIME_ZONE_INFORMATION& zone) {
    zone.Bias = -Minutes(local.tm_gmtoff);
    CopyName(local.tm_zone, zone.StandardName);
    CopyName(local.tm_zone, zone.DaylightName);
    return TIME_ZONE_ID_UNKNOWN;
}

} // namespace

DWORD TimeZoneInformationAt(std::time_t now, TIME_ZONE_INFORMATION& zone) {
    tzset();
    zone = {};
    const tm local = LocalTime(now);
    const int year = local.tm_year;
    const auto changes = ChangesInYear(year);
    const auto toDaylight = ChangeInYear(year, true);
    const auto toStandard = ChangeInYear(year, false);
    const bool seasons = changes.size() == 2 && toDaylight && toStandard &&
                         OffsetAt(changes[0] - 1) == OffsetAt(changes[1]);
    if (!seasons)
        return WithoutSeasons(local, zone);
    const bool daylightInside = OffsetAt(changes[0]) > OffsetAt(changes[1]);
    const tm daylight = LocalTime(changes[daylightInside ? 0 : 1]);
    const tm standard = LocalTime(changes[daylightInside ? 1 : 0]);
    zone.Bias = -Minutes(standard.tm_gmtoff);
    zone.DaylightBias = -Minutes(daylight.tm_gmtoff - standard.tm_gmtoff);
    zone.DaylightDate = RuleDate(year, true, *toDaylight);
    zone.StandardDate = RuleDate(year, false, *toStandard);
    CopyName(standard.tm_zone, zone.StandardName);
    CopyName(daylight.tm_zone, zone.DaylightName);
    return local.tm_gmtoff == daylight.tm_gmtoff ? TIME_ZONE_ID_DAYLIGHT : TIME_ZONE_ID_STANDARD;
}

} // namespace platform

DWORD WINAPI GetTimeZoneInformation(LPTIME_ZONE_INFORMATION zone) {
    return platform::TimeZoneInformationAt(std::time(nullptr), *zone);
}
