// Top-level windows as other processes see them: one file a window in HOME/windows, named by the
// window's number and locked by its process as long as the window lives. A record that nobody
// holds is left over from a process that died; it is no window and is removed when it is met.
#pragma once

#include "platform/base/descriptor.h"

#include <windef.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

struct WindowRecord {
    DWORD number = 0; // the window's handle; a newer window has a higher one
    DWORD process = 0, thread = 0;
    std::uint64_t processStart = 0; // a later process of the same number has another
    DWORD owner = 0;                // number of the owning window, 0 for none
    DWORD style = 0;                // as it was made
    std::string className, title;   // Windows-1252
};

// The record of a window of this process; removed with the window.
class OwnedWindowRecord {
public:
    // None for a window that is known in this process alone.
    OwnedWindowRecord(WindowRecord record, Descriptor file)
        : record_(std::move(record)), file_(std::move(file)) {}
    OwnedWindowRecord(const OwnedWindowRecord&) = delete;
    OwnedWindowRecord& operator=(const OwnedWindowRecord&) = delete;
    ~OwnedWindowRecord();

    DWORD Number() const { return record_.number; }
    void SetTitle(const std::string& title);

private:
    WindowRecord record_;
    Descriptor file_;
};

// Publishes a window of the calling thread under a number that no other window of this process has,
// whatever becomes of the folder. Where the folder cannot be written, or somebody keeps its lock
// for ten seconds, the window has a number all the same, but is known in this process alone.
std::unique_ptr<OwnedWindowRecord>
PublishWindow(const std::string& className, const std::string& title, DWORD owner, DWORD style);

// All windows of all processes, the newest first. None where somebody keeps the folder's lock.
std::vector<WindowRecord> ReadWindowRecords();

std::optional<WindowRecord> FindWindowRecord(HWND window);

inline HWND WindowOfNumber(DWORD number) {
    return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(number));
}
inline DWORD NumberOfWindow(HWND window) {
    return static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(window));
}

} // namespace platform
