// The functions are looked up by name: a program that asked for them by import would not start on
// a Windows without them.

#include "frame/shutdown_block.h"

#include <cstdio>
#include <cstring>

namespace {

using CreateReason = BOOL(WINAPI*)(HWND, LPCWSTR);
using DestroyReason = BOOL(WINAPI*)(HWND);

constexpr std::size_t MaxReasonLength = 256; // of Windows, terminator included

// Null where this Windows has no function of that name.
template <class Function>
Function FindFunction(const char* name) {
    const HMODULE library = GetModuleHandleA("user32.dll");
    return library
               ? reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)))
               : nullptr;
}

} // namespace

void BlockShutdown(HWND page, const char* reason) {
    const auto create = FindFunction<CreateReason>("ShutdownBlockReasonCreate");
    if (!create)
        return;
    char line[MaxReasonLength];
    std::snprintf(line, sizeof(line), "%.*s", static_cast<int>(std::strcspn(reason, "\r\n")),
                  reason);
    WCHAR wide[MaxReasonLength];
    if (MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, line, -1, wide, MaxReasonLength) != 0)
        create(page, wide);
}

void UnblockShutdown(HWND page) {
    if (const auto destroy = FindFunction<DestroyReason>("ShutdownBlockReasonDestroy"))
        destroy(page);
}
