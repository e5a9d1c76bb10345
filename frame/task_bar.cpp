// Showing progress in the task bar, which is reached through COM, each time anew: a worker may hold
// nothing of COM when it ends. What a thread still holds is released while it is torn down, behind
// COM's own end of it.

#include "frame/task_bar.h"

#include <shobjidl.h>

namespace {

// COM on this thread, until the end of the scope.
class ComUse {
public:
    ComUse() : started_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
    ComUse(const ComUse&) = delete;
    ComUse& operator=(const ComUse&) = delete;
    ~ComUse() {
        if (started_)
            CoUninitialize();
    }

private:
    const bool started_;
};

} // namespace

void ShowTaskBarProgress(HWND page, DWORD percentage) {
    const ComUse com;
    void* made = nullptr;
    if (FAILED(CoCreateInstance(CLSID_TaskbarList, nullptr, CLSCTX_INPROC_SERVER, IID_ITaskbarList3,
                                &made)))
        return;
    auto* list = static_cast<ITaskbarList3*>(made);
    if (SUCCEEDED(list->HrInit()))
        list->SetProgressValue(page, percentage, 100);
    list->Release();
}
