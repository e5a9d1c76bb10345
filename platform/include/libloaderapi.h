// Functions of the system by name, for those that not every Windows has. Covered: user32.dll, with
// what windows/named_functions.cpp lists.
#pragma once

#include <windef.h>

#define ERROR_MOD_NOT_FOUND 126
#define ERROR_PROC_NOT_FOUND 127

// Null with the last error set for a library that is not there, or a function that it lacks.
HMODULE WINAPI GetModuleHandleA(LPCSTR name);
FARPROC WINAPI GetProcAddress(HMODULE library, LPCSTR name);
