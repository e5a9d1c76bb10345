// The dialogs that ask for a file: one file by name, on the display in use. Messages of the
// calling thread are served meanwhile. Covered: owner, filters (shown), default extension,
// proposed name, OFN_FILEMUSTEXIST, and OFN_NOCHANGEDIR, without which no dialog comes up. The
// initial directory is ignored: names are relative to the current directory. A file that exists is
// not asked about when saving. Of the fields lpstrFile alone is written.
#pragma once

#include <windef.h>

#include <cstddef>

#define OFN_NOCHANGEDIR 0x8
#define OFN_FILEMUSTEXIST 0x1000

typedef UINT_PTR(CALLBACK* LPOFNHOOKPROC)(HWND, UINT, WPARAM, LPARAM);

struct OPENFILENAMEA {
    DWORD lStructSize; // OPENFILENAME_SIZE_VERSION_400A
    HWND hwndOwner;    // disabled while the dialog is up
    HINSTANCE hInstance;
    LPCSTR lpstrFilter; // pairs of name and pattern, an empty name ends them
    LPSTR lpstrCustomFilter;
    DWORD nMaxCustFilter;
    DWORD nFilterIndex;
    LPSTR lpstrFile; // in: proposed name; out: full path with its drive, Windows-1252
    DWORD nMaxFile;  // bytes at lpstrFile, terminator included
    LPSTR lpstrFileTitle;
    DWORD nMaxFileTitle;
    LPCSTR lpstrInitialDir;
    LPCSTR lpstrTitle;
    DWORD Flags;
    WORD nFileOffset;
    WORD nFileExtension;
    LPCSTR lpstrDefExt; // without the dot; appended to a name that has no extension
    LPARAM lCustData;
    LPOFNHOOKPROC lpfnHook;
    LPCSTR lpTemplateName;
    void* pvReserved;
    DWORD dwReserved;
    DWORD FlagsEx;
};
typedef OPENFILENAMEA* LPOPENFILENAMEA;

#define OPENFILENAME_SIZE_VERSION_400A                                                             \
    (static_cast<DWORD>(offsetof(OPENFILENAMEA, lpTemplateName) + sizeof(LPCSTR)))

// TRUE with the path in lpstrFile; FALSE when the user cancelled, the structure cannot be meant,
// or a quit message or the end of the owner cut the dialog short.
BOOL WINAPI GetOpenFileNameA(LPOPENFILENAMEA dialog);
BOOL WINAPI GetSaveFileNameA(LPOPENFILENAMEA dialog);
