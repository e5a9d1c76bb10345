// Files, searches, threads, events, waits, processes, time and the last error.
//
// What is covered:
// - The last error is kept for each thread. A call that fails sets it, one that succeeds leaves it.
// - Files: CreateFileA with CREATE_ALWAYS and OPEN_EXISTING on files, and on ports, for overlapped
//   calls only, by names that start with "\\.\". Share modes hold between opens of
//   programs that use this layer: one that shares neither reading nor writing is alone, a writer
//   that shares only reading keeps readers out that share only reading. Files are read and written
//   at their own position, and sought from their start.
// - Searches: the pattern's last part is a name or "*.*", which is everything. Attributes, names
//   and sizes. The list is taken at the first call, in the order of names, "." and ".." first but
//   not for the root.
// - Threads: CreateThread without CREATE_SUSPENDED. TerminateThread ends a thread where it next
//   waits in this layer (see thread_termination.h for why no sooner); its handle is signalled at
//   once.
// - Critical sections, which one thread may enter again.
// - Events without names, reset by hand. Waits for one event or thread at a time.
// - Processes: CreateProcessA of an application by its path, with CREATE_NEW_CONSOLE, in the
//   current directory. OpenProcess is for ending a process; it and TerminateProcess never meet a
//   process other than the one that was opened.
// - Sleep, GetTickCount and every timeout run at the layer's clock (platform/base/clock.h); the
//   calls that give the date give the host's.
// - LocalAlloc for fixed memory as it comes.
#pragma once

#include <windef.h>

// Last error. Calls of the registry give these as their results instead.
#define NO_ERROR 0
#define ERROR_SUCCESS 0
#define ERROR_INVALID_FUNCTION 1
#define ERROR_FILE_NOT_FOUND 2
#define ERROR_PATH_NOT_FOUND 3
#define ERROR_TOO_MANY_OPEN_FILES 4
#define ERROR_ACCESS_DENIED 5
#define ERROR_INVALID_HANDLE 6
#define ERROR_NOT_ENOUGH_MEMORY 8
#define ERROR_NO_MORE_FILES 18
#define ERROR_WRITE_PROTECT 19
#define ERROR_NOT_READY 21
#define ERROR_GEN_FAILURE 31
#define ERROR_SHARING_VIOLATION 32
#define ERROR_FILE_EXISTS 80
#define ERROR_INVALID_PARAMETER 87
#define ERROR_BROKEN_PIPE 109
#define ERROR_DISK_FULL 112
#define ERROR_CALL_NOT_IMPLEMENTED 120
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_INVALID_NAME 123
#define ERROR_DIR_NOT_EMPTY 145
#define ERROR_BAD_PATHNAME 161
#define ERROR_BUSY 170
#define ERROR_BAD_EXE_FORMAT 193
#define ERROR_FILENAME_EXCED_RANGE 206
#define ERROR_MORE_DATA 234
#define ERROR_NO_MORE_ITEMS 259
#define ERROR_OPERATION_ABORTED 995
#define ERROR_IO_INCOMPLETE 996
#define ERROR_IO_PENDING 997
#define ERROR_REGISTRY_CORRUPT 1015
#define ERROR_KEY_DELETED 1018
#define ERROR_IO_DEVICE 1117
#define ERROR_CONNECTION_ABORTED 1236
#define ERROR_INVALID_WINDOW_HANDLE 1400
#define ERROR_CANNOT_FIND_WND_CLASS 1407
#define ERROR_CLASS_ALREADY_EXISTS 1410
#define ERROR_CONTROL_ID_NOT_FOUND 1421
#define ERROR_RESOURCE_NAME_NOT_FOUND 1814

DWORD WINAPI GetLastError();
void WINAPI SetLastError(DWORD error);

// Records that calls fill or take.
struct OVERLAPPED {
    ULONG_PTR Internal;
    ULONG_PTR InternalHigh;
    union {
        struct {
            DWORD Offset;
            DWORD OffsetHigh;
        };
        LPVOID Pointer;
    };
    HANDLE hEvent;
};
typedef OVERLAPPED* LPOVERLAPPED;

struct SECURITY_ATTRIBUTES {
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
};
typedef SECURITY_ATTRIBUTES* LPSECURITY_ATTRIBUTES;

// 100 nanoseconds each, since the start of the year 1601 in UTC.
struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

struct WIN32_FIND_DATAA {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    CHAR cFileName[MAX_PATH];
    CHAR cAlternateFileName[14];
};
typedef WIN32_FIND_DATAA* LPWIN32_FIND_DATAA;
static_assert(sizeof(WIN32_FIND_DATAA) == 320);

union ULARGE_INTEGER {
    struct {
        DWORD LowPart;
        DWORD HighPart;
    };
    ULONGLONG QuadPart;
};
typedef ULARGE_INTEGER* PULARGE_INTEGER;

// Files.
typedef int HFILE;

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))
#define INVALID_FILE_SIZE (static_cast<DWORD>(0xFFFFFFFF))

#define GENERIC_READ 0x80000000
#define GENERIC_WRITE 0x40000000
#define FILE_SHARE_READ 0x00000001
#define FILE_SHARE_WRITE 0x00000002
#define CREATE_NEW 1 // of a file on the handheld
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define FILE_ATTRIBUTE_READONLY 0x00000001
#define FILE_ATTRIBUTE_HIDDEN 0x00000002
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010
#define FILE_ATTRIBUTE_ARCHIVE 0x00000020
#define FILE_ATTRIBUTE_NORMAL 0x00000080
#define FILE_FLAG_OVERLAPPED 0x40000000
#define FILE_BEGIN 0

HANDLE WINAPI CreateFileA(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                          DWORD disposition, DWORD flagsAndAttributes, HANDLE templateFile);
BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD count, LPDWORD done,
                     LPOVERLAPPED overlapped);
BOOL WINAPI WriteFile(HANDLE file, LPCVOID data, DWORD count, LPDWORD done,
                      LPOVERLAPPED overlapped);
DWORD WINAPI GetFileSize(HANDLE file, LPDWORD high);
LONG WINAPI _llseek(HFILE file, LONG offset, int origin);
BOOL WINAPI FlushFileBuffers(HANDLE file);
BOOL WINAPI CloseHandle(HANDLE object);

HANDLE WINAPI FindFirstFileA(LPCSTR pattern, LPWIN32_FIND_DATAA found);
BOOL WINAPI FindNextFileA(HANDLE search, LPWIN32_FIND_DATAA found);
BOOL WINAPI FindClose(HANDLE search);

DWORD WINAPI GetCurrentDirectoryA(DWORD size, LPSTR buffer);
BOOL WINAPI GetDiskFreeSpaceExA(LPCSTR directory, PULARGE_INTEGER freeToCaller,
                                PULARGE_INTEGER total, PULARGE_INTEGER totalFree);

// Threads, events, waits.
typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(LPVOID parameter);

#define INFINITE 0xFFFFFFFF
#define WAIT_OBJECT_0 (static_cast<DWORD>(0))
#define WAIT_TIMEOUT 258
#define WAIT_FAILED (static_cast<DWORD>(0xFFFFFFFF))

HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES security, SIZE_T stackSize,
                           LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags, LPDWORD id);
BOOL WINAPI TerminateThread(HANDLE thread, DWORD exitCode);
DWORD WINAPI GetCurrentThreadId();

// Its content is nobody else's, and it is not moved. It needs no end: here nothing hangs on it.
struct CRITICAL_SECTION {
    ULONG_PTR Opaque[5];
};
typedef CRITICAL_SECTION* LPCRITICAL_SECTION;

void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section);
void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section);
void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section);

HANDLE WINAPI CreateEventA(LPSECURITY_ATTRIBUTES security, BOOL manualReset, BOOL initiallySet,
                           LPCSTR name);
BOOL WINAPI SetEvent(HANDLE event);
BOOL WINAPI ResetEvent(HANDLE event);
DWORD WINAPI WaitForSingleObject(HANDLE object, DWORD milliseconds);
void WINAPI Sleep(DWORD milliseconds);

typedef DWORD EXECUTION_STATE;
#define ES_SYSTEM_REQUIRED 0x00000001
#define ES_CONTINUOUS 0x80000000
// From ES_CONTINUOUS | ES_SYSTEM_REQUIRED on the machine does not sleep, until the calling thread
// passes ES_CONTINUOUS alone or ends. Gives the state before. A host that cannot be kept awake is
// no failure.
EXECUTION_STATE WINAPI SetThreadExecutionState(EXECUTION_STATE state);

// Processes.
struct STARTUPINFOA {
    DWORD cb;
    LPSTR lpReserved;
    LPSTR lpDesktop;
    LPSTR lpTitle;
    DWORD dwX;
    DWORD dwY;
    DWORD dwXSize;
    DWORD dwYSize;
    DWORD dwXCountChars;
    DWORD dwYCountChars;
    DWORD dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    LPBYTE lpReserved2;
    HANDLE hStdInput;
    HANDLE hStdOutput;
    HANDLE hStdError;
};
typedef STARTUPINFOA* LPSTARTUPINFOA;

struct PROCESS_INFORMATION {
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
};
typedef PROCESS_INFORMATION* LPPROCESS_INFORMATION;

#define STARTF_USESHOWWINDOW 0x00000001
#define CREATE_NEW_CONSOLE 0x00000010

BOOL WINAPI CreateProcessA(LPCSTR application, LPSTR commandLine,
                           LPSECURITY_ATTRIBUTES processSecurity,
                           LPSECURITY_ATTRIBUTES threadSecurity, BOOL inheritHandles, DWORD flags,
                           LPVOID environment, LPCSTR currentDirectory, LPSTARTUPINFOA startup,
                           LPPROCESS_INFORMATION process);
HANDLE WINAPI OpenProcess(DWORD access, BOOL inheritHandle, DWORD processId);
BOOL WINAPI TerminateProcess(HANDLE process, UINT exitCode);
DWORD WINAPI GetCurrentProcessId();
// Puts the values of variables of this program's environment in place of their names, %NAME%; a
// name that there is not stays. Gives the length with the terminator, also where it is more than
// `size`, and then the buffer's content is undefined.
DWORD WINAPI ExpandEnvironmentStringsA(LPCSTR text, LPSTR buffer, DWORD size);

// Time.
struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek; // 0 is Sunday
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
typedef SYSTEMTIME* LPSYSTEMTIME;
static_assert(sizeof(SYSTEMTIME) == 16);

// UTC is local time plus Bias plus the bias of the season, in minutes. A date with year 0 is the
// wDay-th wDayOfWeek of the month, 5 the last; month 0: no daylight saving time.
struct TIME_ZONE_INFORMATION {
    LONG Bias;
    WCHAR StandardName[32];
    SYSTEMTIME StandardDate;
    LONG StandardBias;
    WCHAR DaylightName[32];
    SYSTEMTIME DaylightDate;
    LONG DaylightBias;
};
typedef TIME_ZONE_INFORMATION* LPTIME_ZONE_INFORMATION;
static_assert(sizeof(TIME_ZONE_INFORMATION) == 172);

#define TIME_ZONE_ID_UNKNOWN 0
#define TIME_ZONE_ID_STANDARD 1
#define TIME_ZONE_ID_DAYLIGHT 2

DWORD WINAPI GetTickCount();
void WINAPI GetSystemTime(LPSYSTEMTIME utc);
DWORD WINAPI GetTimeZoneInformation(LPTIME_ZONE_INFORMATION zone);

// Memory.
#define LMEM_FIXED 0x0000

HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T bytes);
HLOCAL WINAPI LocalFree(HLOCAL memory);

// Text in the ANSI code page without regard to case: below 0, 0, above 0.
int WINAPI lstrcmpiA(LPCSTR one, LPCSTR other);
