// The task bar is reached through COM, on the thread of the worker that has something to show; each
// such thread has its own way there, and gives it up when it ends.

#include "pages/task_bar.h"

#include <shobjidl.h>

#include <utility>

namespace {

class TaskBar {
public:
    TaskBar() : started_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
        void* made = nullptr;
        if (FAILED(CoCreateInstance(CLSID_TaskbarList, nullptr, CLSCTX_INPROC_SERVER,
                                    IID_ITaskbarList3, &made)))
            return;
        list_ = static_cast<ITaskbarList3*>(made);
        ready_ = SUCCEEDED(list_->HrInit());
    }
    TaskBar(const TaskBar&) = delete;
    TaskBar& operator=(const TaskBar&) = delete;
    ~TaskBar() {
        if (list_)
            list_->Release();
        if (started_)
            CoUninitialize();
    }

    void Show(HWND page, DWORD percentage) {
        if (ready_ && std::exchange(shown_, percentage) != percentage)
            list_->SetProgressValue(page, percentage, 100);
    }

private:
    const bool started_;
    bool ready_ = false;
    ITaskbarList3* list_ = nullptr;
    DWORD shown_ = 0; // a bar at 0 shows nothing
};

} // namespace

void ShowTaskBarProgress(HWND page, DWORD percentage) {
    thread_local TaskBar taskBar;
    taskBar.Show(page, percentage);
}
