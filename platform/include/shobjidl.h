// Progress in the task bar, by the interface that Windows publishes for it, and as much of COM as
// takes to reach it.
//
// Covered: CoCreateInstance makes the one object CLSID_TaskbarList by the one interface
// ITaskbarList3; everything else is REGDB_E_CLASSNOTREG. A display without a task bar shows
// nothing, which is no failure. Any thread, after CoInitializeEx on it.
#pragma once

#include <windef.h>

#define S_OK (static_cast<HRESULT>(0))
#define REGDB_E_CLASSNOTREG (static_cast<HRESULT>(0x80040154))
#define SUCCEEDED(result) ((result) >= 0)
#define FAILED(result) ((result) < 0)

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2, Data3;
    std::uint8_t Data4[8];
};
typedef GUID CLSID;
typedef GUID IID;

extern const CLSID CLSID_TaskbarList;
extern const IID IID_ITaskbarList3;

#define COINIT_APARTMENTTHREADED 0x2
#define CLSCTX_INPROC_SERVER 0x1

struct IUnknown {
    virtual ULONG WINAPI AddRef() = 0;
    virtual ULONG WINAPI Release() = 0; // the last one ends the object

protected:
    ~IUnknown() = default;
};

struct ITaskbarList3 : IUnknown {
    virtual HRESULT WINAPI HrInit() = 0; // before anything else
    // Of the window's program, done / total; removed with the window.
    virtual HRESULT WINAPI SetProgressValue(HWND window, ULONGLONG done, ULONGLONG total) = 0;

protected:
    ~ITaskbarList3() = default;
};

HRESULT WINAPI CoInitializeEx(LPVOID reserved, DWORD model);
void WINAPI CoUninitialize();
HRESULT WINAPI CoCreateInstance(const CLSID& object, IUnknown* outer, DWORD context,
                                const IID& wanted, LPVOID* made);
