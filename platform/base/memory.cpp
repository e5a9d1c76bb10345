// Memory of the local heap: fixed blocks, whose handle is their address.

#include <winbase.h>

#include <cstdlib>

HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T bytes) {
    if (flags != LMEM_FIXED) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const SIZE_T size = bytes == 0 ? 1 : bytes; // a block of no bytes has an address of its own too
    void* memory = std::malloc(size);
    if (!memory)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return memory;
}

HLOCAL WINAPI LocalFree(HLOCAL memory) {
    std::free(memory);
    return nullptr;
}
