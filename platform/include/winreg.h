// The registry.
//
// What is covered: the roots HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER, kept in one text file that
// a person may edit (see registry_file.h). Every call sees the content as it is at that moment, so
// that processes see what others write; a call that writes has written to the disk when it returns.
// The result is 0 or an ERROR_ value; the last error stays as it was. Names match without regard to
// case. Names of keys and values hold no control characters. Values are enumerated in the order in
// which they were first written.
//
// A text without its terminator gets one behind it where the caller's buffer is large enough, and
// the size does not count it.
#pragma once

#include <winbase.h>

typedef LONG LSTATUS;
typedef DWORD REGSAM;

#define HKEY_CURRENT_USER                                                                          \
    (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(static_cast<LONG>(0x80000001))))
#define HKEY_LOCAL_MACHINE                                                                         \
    (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(static_cast<LONG>(0x80000002))))

#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define KEY_READ 0x20019
#define KEY_WRITE 0x20006
#define KEY_ALL_ACCESS 0xF003F

#define REG_OPTION_NON_VOLATILE 0
#define REG_CREATED_NEW_KEY 1
#define REG_OPENED_EXISTING_KEY 2

#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4
#define REG_MULTI_SZ 7

LSTATUS WINAPI RegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD options, REGSAM access, PHKEY opened);
LSTATUS WINAPI RegCreateKeyExA(HKEY key, LPCSTR subKey, DWORD reserved, LPSTR className,
                               DWORD options, REGSAM access, LPSECURITY_ATTRIBUTES security,
                               PHKEY opened, LPDWORD disposition);
LSTATUS WINAPI RegSetValueExA(HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data,
                              DWORD size);
LSTATUS WINAPI RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                LPDWORD size);
LSTATUS WINAPI RegEnumValueA(HKEY key, DWORD index, LPSTR name, LPDWORD nameLength,
                             LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size);
LSTATUS WINAPI RegDeleteKeyA(HKEY key, LPCSTR subKey);
LSTATUS WINAPI RegCloseKey(HKEY key);
