// The lock between the wizard's threads, for std::lock_guard.
//
// It is a critical section, as every Windows has it. The compiler's own mutex, in the thread model
// that offers one, imports functions that Windows 2000 and XP lack: the program would not start.
#pragma once

#include <windows.h>

class Lock {
public:
    Lock() { InitializeCriticalSection(&section_); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    // Not deleted: it is part of State, and a loop that a driver keeps may take it until the end of
    // the process.
    ~Lock() = default;

    void lock() { EnterCriticalSection(&section_); }
    void unlock() { LeaveCriticalSection(&section_); }

private:
    CRITICAL_SECTION section_;
};
