// Files, searches, threads, events, waits, processes, time and the last error.
//
// What is covered:
// - The last error is kept for each thread. A call that fails sets it, one that succeeds leaves it.
// - Files: CreateFileA with CREATE_NEW, CREATE_ALWAYS, OPEN_EXISTING, OPEN_ALWAYS and
//   TRUNCATE_EXISTING on files, and on ports by names that start with "\\.\". Share modes hold
//   between opens of programs that use this layer: one that shares neither reading nor writing is
//   alone, a writer that shares only reading keeps readers out that share only reading.
//   Overlapped calls on a plain file complete before they return.
// - Searches: the pattern's last part may hold * and ?; "*.*" is everything. The list is taken at
//   the first call, in the order of names, "." and ".." first but not for the root.
// - Threads: CreateThread without CREATE_SUSPENDED. TerminateThread ends a thread where it next
//   waits in this layer (see thread_termination.h for why no sooner); its handle is signalled at
//   once.
// - Events without names. Waits for events, threads and processes, of one or of several at a time.
// - Processes: CreateProcessA without environment block; the program is found by path alone.
//   OpenProcess and TerminateProcess never meet a process other than the one that was opened.
// - Sleep, GetTickCount and every timeout run at the layer's clock (platform/base/clock.h); the
// calls
//   that give the date give the host's.
// - LocalAlloc for fixed memory.
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
#define ERROR_INVALID_DRIVE 15
#define ERROR_NO_MORE_FILES 18
#define ERROR_WRITE_PROTECT 19
#define ERROR_NOT_READY 21
#define ERROR_WRITE_FAULT 29
#define ERROR_READ_FAULT 30
#define ERROR_GEN_FAILURE 31
#define ERROR_SHARING_VIOLATION 32
#define ERROR_LOCK_VIOLATION 33
#define ERROR_HANDLE_EOF 38
#define ERROR_NOT_SUPPORTED 50
#define ERROR_FILE_EXISTS 80
#define ERROR_INVALID_PARAMETER 87
#define ERROR_BROKEN_PIPE 109
#define ERROR_DISK_FULL 112
#define ERROR_CALL_NOT_IMPLEMENTED 120
#define ERROR_SEM_TIMEOUT 121
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_INVALID_NAME 123
#define ERROR_NEGATIVE_SEEK 131
#define ERROR_DIR_NOT_EMPTY 145
#define ERROR_BAD_PATHNAME 161
#define ERROR_BUSY 170
#define ERROR_ALREADY_EXISTS 183
#define ERROR_BAD_EXE_FORMAT 193
#define ERROR_FILENAME_EXCED_RANGE 206
#define ERROR_MORE_DATA 234
#define ERROR_NO_MORE_ITEMS 259
#define ERROR_DIRECTORY 267
#define ERROR_OPERATION_ABORTED 995
#define ERROR_IO_INCOMPLETE 996
#define ERROR_IO_PENDING 997
#define ERROR_NOACCESS 998
#define ERROR_INVALID_FLAGS 1004
#define ERROR_BADDB 1009
#define ERROR_BADKEY 1010
#define ERROR_REGISTRY_CORRUPT 1015
#define ERROR_KEY_DELETED 1018
#define ERROR_NO_UNICODE_TRANSLATION 1113
#define ERROR_IO_DEVICE 1117
#define ERROR_NOT_FOUND 1168
#define ERROR_CONNECTION_ABORTED 1236

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
        PVOID Pointer;
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
#define INVALID_SET_FILE_POINTER (static_cast<DWORD>(-1))
#define HFILE_ERROR (static_cast<HFILE>(-1))

#define GENERIC_READ 0x80000000
#define GENERIC_WRITE 0x40000000
#define FILE_SHARE_READ 0x00000001
#define FILE_SHARE_WRITE 0x00000002
#define FILE_SHARE_DELETE 0x00000004
#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define TRUNCATE_EXISTING 5
#define FILE_ATTRIBUTE_READONLY 0x00000001
#define FILE_ATTRIBUTE_HIDDEN 0x00000002
#define FILE_ATTRIBUTE_SYSTEM 0x00000004
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010
#define FILE_ATTRIBUTE_ARCHIVE 0x00000020
#define FILE_ATTRIBUTE_NORMAL 0x00000080
#define FILE_FLAG_WRITE_THROUGH 0x80000000
#define FILE_FLAG_OVERLAPPED 0x40000000
#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2

HANDLE WINAPI CreateFileA(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                          DWORD disposition, DWORD flagsAndAttributes, HANDLE templateFile);
BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD count, LPDWORD done,
                     LPOVERLAPPED overlapped);
BOOL WINAPI WriteFile(HANDLE file, LPCVOID data, DWORD count, LPDWORD done,
                      LPOVERLAPPED overlapped);
DWORD WINAPI GetFileSize(HANDLE file, LPDWORD high);
DWORD WINAPI SetFilePointer(HANDLE file, LONG distance, PLONG distanceHigh, DWORD method);
LONG WINAPI _llseek(HFILE file, LONG offset, int origin);
BOOL WINAPI FlushFileBuffers(HANDLE file);
BOOL WINAPI CloseHandle(HANDLE object);

HANDLE WINAPI FindFirstFileA(LPCSTR pattern, LPWIN32_FIND_DATAA found);
BOOL WINAPI FindNextFileA(HANDLE search, LPWIN32_FIND_DATAA found);
BOOL WINAPI FindClose(HANDLE search);

BOOL WINAPI DeleteFileA(LPCSTR name);
DWORD WINAPI GetCurrentDirectoryA(DWORD size, LPSTR buffer);
BOOL WINAPI SetCurrentDirectoryA(LPCSTR path);
BOOL WINAPI GetDiskFreeSpaceExA(LPCSTR directory, PULARGE_INTEGER freeToCaller,
                                PULARGE_INTEGER total, PULARGE_INTEGER totalFree);

// Threads, events, waits.
typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(LPVOID parameter);

#define INFINITE 0xFFFFFFFF
#define WAIT_OBJECT_0 (static_cast<DWORD>(0))
#define WAIT_TIMEOUT 258
#define WAIT_FAILED (static_cast<DWORD>(0xFFFFFFFF))
#define MAXIMUM_WAIT_OBJECTS 64
#define STILL_ACTIVE (static_cast<DWORD>(259))

HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES security, SIZE_T stackSize,
                           LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags, LPDWORD id);
[[noreturn]] void WINAPI ExitThread(DWORD exitCode);
BOOL WINAPI TerminateThread(HANDLE thread, DWORD exitCode);
BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD exitCode);
DWORD WINAPI GetCurrentThreadId();

HANDLE WINAPI CreateEventA(LPSECURITY_ATTRIBUTES security, BOOL manualReset, BOOL initiallySet,
                           LPCSTR name);
BOOL WINAPI SetEvent(HANDLE event);
BOOL WINAPI ResetEvent(HANDLE event);
DWORD WINAPI WaitForSingleObject(HANDLE object, DWORD milliseconds);
DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all,
                                    DWORD milliseconds);
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
#define DETACHED_PROCESS 0x00000008
#define CREATE_NEW_CONSOLE 0x00000010
#define PROCESS_TERMINATE 0x0001
#define PROCESS_QUERY_INFORMATION 0x0400
#define SYNCHRONIZE 0x00100000
#define STANDARD_RIGHTS_REQUIRED 0x000F0000
// As published up to Windows Server 2003; later headers add lower bits that change nothing here.
#define PROCESS_ALL_ACCESS (STANDARD_RIGHTS_REQUIRED | SYNCHRONIZE | 0xFFF)

BOOL WINAPI CreateProcessA(LPCSTR application, LPSTR commandLine,
                           LPSECURITY_ATTRIBUTES processSecurity,
                           LPSECURITY_ATTRIBUTES threadSecurity, BOOL inheritHandles, DWORD flags,
                           LPVOID environment, LPCSTR currentDirectory, LPSTARTUPINFOA startup,
                           LPPROCESS_INFORMATION process);
HANDLE WINAPI OpenProcess(DWORD access, BOOL inheritHandle, DWORD processId);
BOOL WINAPI TerminateProcess(HANDLE process, UINT exitCode);
BOOL WINAPI GetExitCodeProcess(HANDLE process, LPDWORD exitCode);
DWORD WINAPI GetCurrentProcessId();
[[noreturn]] void WINAPI ExitProcess(UINT exitCode);

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
#define TIME_ZONE_ID_INVALID (static_cast<DWORD>(0xFFFFFFFF))

DWORD WINAPI GetTickCount();
void WINAPI GetSystemTime(LPSYSTEMTIME utc);
void WINAPI GetLocalTime(LPSYSTEMTIME local);
DWORD WINAPI GetTimeZoneInformation(LPTIME_ZONE_INFORMATION zone);

// Memory. LMEM_MOVEABLE is refused.
#define LMEM_FIXED 0x0000
#define LMEM_ZEROINIT 0x0040
#define LPTR (LMEM_FIXED | LMEM_ZEROINIT)

HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T bytes);
HLOCAL WINAPI LocalFree(HLOCAL memory);

// Text in the ANSI code page without regard to case: below 0, 0, above 0.
int WINAPI lstrcmpiA(LPCSTR one, LPCSTR other);
