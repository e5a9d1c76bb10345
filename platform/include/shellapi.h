// Starting a program, or opening a file with whatever the desktop opens it with.
#pragma once

#include <windef.h>

#define SEE_MASK_NOCLOSEPROCESS 0x40

struct SHELLEXECUTEINFOA {
    DWORD cbSize;
    ULONG fMask;
    HWND hwnd;
    LPCSTR lpVerb;       // null or "open"
    LPCSTR lpFile;       // program or document
    LPCSTR lpParameters; // of the program
    LPCSTR lpDirectory;  // working directory; null: the current one
    int nShow;
    HINSTANCE hInstApp; // out: above 32 on success
    void* lpIDList;
    LPCSTR lpClass;
    HKEY hkeyClass;
    DWORD dwHotKey;
    union {
        HANDLE hIcon;
        HANDLE hMonitor;
    };
    HANDLE hProcess; // out, with SEE_MASK_NOCLOSEPROCESS: the caller closes it; null if none
};

// Starts lpFile where the host has such a program in its PATH. Where it has not, the document is
// opened with the desktop's own program: the one named by lpParameters or, with no parameters,
// lpFile. Does not wait. FALSE with ERROR_FILE_NOT_FOUND when neither can be done.
BOOL WINAPI ShellExecuteExA(SHELLEXECUTEINFOA* info);
