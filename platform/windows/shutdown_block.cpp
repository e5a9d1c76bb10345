// The reason's words become those of a lock at the login manager, which shows them to whoever asks
// for the shutdown.

#include "platform/windows/shutdown_block.h"

#include "platform/base/text.h"
#include "platform/kernel/inhibitor.h"
#include "platform/windows/window_model.h"

#include <utility>

namespace platform {

namespace {

// Hands the window the lock and takes the one before it, which is released behind the model's lock.
BOOL ReplaceBlock(HWND handle, Descriptor block) {
    const auto mine = CurrentQueue();
    auto lock = LockWindows();
    const auto window = RequireWindow(handle);
    if (!window)
        return FALSE;
    if (window->queue != mine) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    std::swap(window->shutdownBlock, block);
    return TRUE;
}

} // namespace

BOOL WINAPI ShutdownBlockReasonCreate(HWND window, LPCWSTR reason) {
    return ReplaceBlock(window, RequestInhibitor("shutdown", Utf8FromUtf16(reason)));
}

BOOL WINAPI ShutdownBlockReasonDestroy(HWND window) { return ReplaceBlock(window, {}); }

} // namespace platform
