// Critical sections: a recursive mutex of the host in the record that the caller owns. Entering one
// is no wait in which a thread is terminated: what it guards may be half changed.

#include <winbase.h>

#include <mutex>
#include <new>

namespace {

static_assert(sizeof(std::recursive_mutex) <= sizeof(CRITICAL_SECTION) &&
              alignof(std::recursive_mutex) <= alignof(CRITICAL_SECTION));

std::recursive_mutex& MutexOf(LPCRITICAL_SECTION section) {
    return *std::launder(reinterpret_cast<std::recursive_mutex*>(section));
}

} // namespace

void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section) {
    new (section) std::recursive_mutex;
}

void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section) { MutexOf(section).lock(); }

void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section) { MutexOf(section).unlock(); }
