// The table of handles, and CloseHandle.
//
// It is never destroyed: threads that outlive `main` still close their handles in it.

#include "platform/kernel/handles.h"

#include <winbase.h>

#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace platform {
namespace {

constexpr std::uintptr_t FirstHandle = 0x100;
constexpr std::uintptr_t LastHandle = 0x7FFFFFFC;
constexpr std::uintptr_t HandleStep = 4;

struct HandleTable {
    std::mutex lock;
    std::unordered_map<std::uintptr_t, std::shared_ptr<Object>> open;
    std::uintptr_t next = FirstHandle;
    int badCloses = 0;
};

HandleTable& Table() {
    static auto& table = *new HandleTable;
    return table;
}

std::uintptr_t NumberOf(HANDLE handle) { return reinterpret_cast<std::uintptr_t>(handle); }

std::uintptr_t NextFreeNumber(HandleTable& table) {
    std::uintptr_t number;
    do {
        number = table.next;
        table.next = number == LastHandle ? FirstHandle : number + HandleStep;
    } while (table.open.contains(number));
    return number;
}

void CountBadClose(HANDLE handle) {
    if (!handle || handle == INVALID_HANDLE_VALUE)
        return;
    auto& table = Table();
    const std::lock_guard lock(table.lock);
    ++table.badCloses;
}

} // namespace

HANDLE AddHandle(std::shared_ptr<Object> object) {
    auto& table = Table();
    const std::lock_guard lock(table.lock);
    const auto number = NextFreeNumber(table);
    table.open.emplace(number, std::move(object));
    return reinterpret_cast<HANDLE>(number);
}

std::shared_ptr<Object> PeekHandle(HANDLE handle) {
    auto& table = Table();
    const std::lock_guard lock(table.lock);
    const auto found = table.open.find(NumberOf(handle));
    return found == table.open.end() ? nullptr : found->second;
}

std::shared_ptr<Object> FindHandle(HANDLE handle) {
    auto object = PeekHandle(handle);
    if (!object)
        SetInvalidHandleError();
    return object;
}

bool RemoveHandle(HANDLE handle) {
    auto& table = Table();
    std::unique_lock lock(table.lock);
    auto taken = table.open.extract(NumberOf(handle));
    lock.unlock();
    if (taken.empty()) {
        CountBadClose(handle);
        SetInvalidHandleError();
        return false;
    }
    taken.mapped()->Close();
    return true;
}

int OpenHandleCount() {
    auto& table = Table();
    const std::lock_guard lock(table.lock);
    return static_cast<int>(table.open.size());
}

int BadCloseCount() {
    auto& table = Table();
    const std::lock_guard lock(table.lock);
    return table.badCloses;
}

void SetInvalidHandleError() { SetLastError(ERROR_INVALID_HANDLE); }

} // namespace platform

BOOL WINAPI CloseHandle(HANDLE handle) {
    const auto object = platform::PeekHandle(handle);
    if (object && !object->ClosedByCloseHandle()) {
        platform::CountBadClose(handle);
        platform::SetInvalidHandleError();
        return FALSE;
    }
    return platform::RemoveHandle(handle);
}
