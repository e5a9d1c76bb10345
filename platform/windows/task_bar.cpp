// The task bar's object: it passes progress to the display.

#include "platform/windows/display.h"
#include "platform/windows/window_model.h"

#include <windows.h>

#include <shobjidl.h>

#include <atomic>
#include <cstring>

// As published.
const CLSID CLSID_TaskbarList = {
    0x56FDF344, 0xFD6D, 0x11D0, {0x95, 0x8A, 0x00, 0x60, 0x97, 0xC9, 0xA0, 0x90}};
const IID IID_ITaskbarList3 = {
    0xEA1AFB91, 0x9E28, 0x4B86, {0x90, 0xE9, 0x9E, 0x9F, 0x8A, 0x5E, 0xEF, 0xAF}};

namespace platform {

namespace {

class TaskbarList final : public ITaskbarList3 {
public:
    ULONG WINAPI AddRef() override { return ++references_; }
    ULONG WINAPI Release() override {
        const ULONG left = --references_;
        if (left == 0)
            delete this;
        return left;
    }
    HRESULT WINAPI HrInit() override { return S_OK; }
    HRESULT WINAPI SetProgressValue(HWND handle, ULONGLONG done, ULONGLONG total) override {
        auto lock = LockWindows();
        const auto window = FindWindowByHandle(handle);
        if (window && window->dialog && window->dialog->onScreen && total != 0)
            ActiveDisplay().ShowTaskBar(static_cast<double>(done) / static_cast<double>(total));
        return S_OK;
    }

private:
    ~TaskbarList() = default;

    std::atomic<ULONG> references_ = 1;
};

bool IsSame(const GUID& one, const GUID& other) { return std::memcmp(&one, &other, 16) == 0; }

} // namespace

} // namespace platform

HRESULT WINAPI CoInitializeEx(LPVOID, DWORD) { return S_OK; }

void WINAPI CoUninitialize() {}

HRESULT WINAPI CoCreateInstance(const CLSID& object, IUnknown*, DWORD, const IID& wanted,
                                LPVOID* made) {
    *made = nullptr;
    if (!platform::IsSame(object, CLSID_TaskbarList) ||
        !platform::IsSame(wanted, IID_ITaskbarList3))
        return REGDB_E_CLASSNOTREG;
    *made = static_cast<ITaskbarList3*>(new platform::TaskbarList);
    return S_OK;
}
