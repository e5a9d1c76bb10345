// The start of RAPI for a use that follows at once. ActiveSync has often just been started then; a
// call that came before its connection would fail, and nothing would be tried again.

#include "rapi/rapi.h"

namespace {

constexpr DWORD ConnectMilliseconds = 2000;

} // namespace

std::int32_t InitRapi(RapiInitRecord* record) {
    record->size = sizeof(*record);
    const std::int32_t result = CeRapiInitEx(record);
    if (result == 0)
        WaitForSingleObject(RapiEvent(*record), ConnectMilliseconds); // without one, calls fail
    return result;
}
