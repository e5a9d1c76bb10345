// The functions that a program looks up by name. This layer is a Windows that has them all.

#include "platform/base/text.h"
#include "platform/windows/shutdown_block.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace platform {

namespace {

constexpr std::uintptr_t User32Module = 0x77D40000; // where Windows used to load it

template <class Function>
FARPROC Named(Function* function) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

struct NamedFunction {
    const char* name;
    FARPROC function;
};

const NamedFunction User32Functions[] = {
    {"ShutdownBlockReasonCreate", Named(ShutdownBlockReasonCreate)},
    {"ShutdownBlockReasonDestroy", Named(ShutdownBlockReasonDestroy)},
};

} // namespace

} // namespace platform

using namespace platform;

HMODULE WINAPI GetModuleHandleA(LPCSTR name) {
    if (name && CompareAnsiNoCase(name, "user32.dll") == 0)
        return reinterpret_cast<HMODULE>(User32Module);
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

FARPROC WINAPI GetProcAddress(HMODULE library, LPCSTR name) {
    const auto found = std::ranges::find_if(User32Functions, [name](const NamedFunction& one) {
        return std::strcmp(one.name, name) == 0;
    });
    if (reinterpret_cast<std::uintptr_t>(library) == User32Module &&
        found != std::end(User32Functions))
        return found->function;
    SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
}
