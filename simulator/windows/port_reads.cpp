// Reads of a serial port as Windows documents them, for a program under Wine.
//
// With an interval of MAXDWORD and no total time (COMMTIMEOUTS) a read returns at once with what
// has come, "even if no bytes have been received". Wine 8 lets such a read wait for its first byte
// instead, so the end of a burst would never be seen. The library of this file replaces ReadFile
// in the program that loads it, and answers the reads that find nothing.

#include "simulator/windows/loopback.h"

#include <cstring>

namespace {

bool ReturnsAtOnce(HANDLE port) {
    COMMTIMEOUTS times = {};
    return GetFileType(port) == FILE_TYPE_CHAR && GetCommTimeouts(port, &times) &&
           times.ReadIntervalTimeout == MAXDWORD && times.ReadTotalTimeoutMultiplier == 0 &&
           times.ReadTotalTimeoutConstant == 0;
}

bool IsEmpty(HANDLE port) {
    DWORD errors = 0;
    COMSTAT state = {};
    return ClearCommError(port, &errors, &state) && state.cbInQue == 0;
}

BOOL WINAPI ReadPort(HANDLE file, LPVOID buffer, DWORD count, LPDWORD done,
                     LPOVERLAPPED overlapped) {
    if (!overlapped || !ReturnsAtOnce(file) || !IsEmpty(file))
        return ReadFile(file, buffer, count, done, overlapped);
    overlapped->Internal = overlapped->InternalHigh = 0;
    if (done)
        *done = 0;
    if (overlapped->hEvent)
        SetEvent(overlapped->hEvent);
    return TRUE;
}

template <class Type>
Type* AtOffset(std::uint64_t offset) {
    return reinterpret_cast<Type*>(reinterpret_cast<std::uint8_t*>(GetModuleHandleA(nullptr)) +
                                   offset);
}

const IMAGE_IMPORT_DESCRIPTOR* FirstImport() {
    const auto* header = AtOffset<IMAGE_NT_HEADERS>(AtOffset<IMAGE_DOS_HEADER>(0)->e_lfanew);
    return AtOffset<IMAGE_IMPORT_DESCRIPTOR>(
        header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
}

void SetFunction(IMAGE_THUNK_DATA* entry, void* function) {
    DWORD protection = 0;
    VirtualProtect(entry, sizeof(*entry), PAGE_READWRITE, &protection);
    entry->u1.Function = reinterpret_cast<std::uintptr_t>(function);
    VirtualProtect(entry, sizeof(*entry), protection, &protection);
}

// The program's table of imports: names on one side, addresses on the other.
void ReplaceReads() {
    for (const auto* library = FirstImport(); library->Name; ++library) {
        const auto* name = AtOffset<IMAGE_THUNK_DATA>(library->OriginalFirstThunk);
        auto* address = AtOffset<IMAGE_THUNK_DATA>(library->FirstThunk);
        for (; name->u1.AddressOfData; ++name, ++address) {
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal) &&
                std::strcmp(AtOffset<IMAGE_IMPORT_BY_NAME>(name->u1.AddressOfData)->Name,
                            "ReadFile") == 0)
                SetFunction(address, reinterpret_cast<void*>(ReadPort));
        }
    }
}

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        ReplaceReads();
    return TRUE;
}
