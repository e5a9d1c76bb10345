// The host's time zone as Windows describes one.
#pragma once

#include <winbase.h>

#include <ctime>

namespace platform {

// As GetTimeZoneInformation at that instant: the rules of the year in which it lies, and
// TIME_ZONE_ID_UNKNOWN, _STANDARD or _DAYLIGHT. The zone is the one that TZ or the host names.
DWORD TimeZoneInformationAt(std::time_t now, TIME_ZONE_INFORMATION& zone);

} // namespace platform
