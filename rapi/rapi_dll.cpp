// RAPI on Windows: the functions of ActiveSync's rapi.dll, found at run time.
//
// The wizard must start on a PC without ActiveSync and say there what is missing, so the library is
// not linked. It is loaded from the system folder by its full path and from nowhere else: the
// working directory is a folder tree from a CD or a download, and a library of that name in it
// must not be run. Signatures and records are those that Microsoft publishes for the desktop side
// of RAPI. Without the library the wizard finds what it finds where no handheld answers.

#include "rapi/rapi.h"

#include <cstring>
#include <utility>

static_assert(sizeof(wchar_t) == sizeof(char16_t), "this file is for Windows alone");

namespace {

// Published records that differ from ours in a 64-bit program, or of which more than two fields
// exist.
struct PublishedInit { // RAPIINIT
    DWORD size;
    HANDLE event;
    HRESULT result;
};

struct PublishedFindData { // CE_FIND_DATA
    DWORD attributes;
    FILETIME created, accessed, written;
    DWORD sizeHigh, sizeLow;
    DWORD objectId;
    WCHAR name[MAX_PATH];
};
static_assert(sizeof(PublishedFindData) == 560);

struct RapiFunctions {
    HRESULT(WINAPI* CeRapiInitEx)(PublishedInit*);
    HRESULT(WINAPI* CeRapiUninit)();
    BOOL(WINAPI* CeCreateProcess)
    (LPCWSTR, LPCWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD, LPVOID, LPWSTR,
     LPSTARTUPINFOW, LPPROCESS_INFORMATION);
    HANDLE(WINAPI* CeCreateFile)
    (LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE);
    BOOL(WINAPI* CeReadFile)(HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED);
    BOOL(WINAPI* CeWriteFile)(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED);
    DWORD(WINAPI* CeGetFileSize)(HANDLE, LPDWORD);
    BOOL(WINAPI* CeCloseHandle)(HANDLE);
    BOOL(WINAPI* CeDeleteFile)(LPCWSTR);
    BOOL(WINAPI* CeMoveFile)(LPCWSTR, LPCWSTR);
    BOOL(WINAPI* CeCopyFile)(LPCWSTR, LPCWSTR, BOOL);
    BOOL(WINAPI* CeCreateDirectory)(LPCWSTR, LPSECURITY_ATTRIBUTES);
    BOOL(WINAPI* CeRemoveDirectory)(LPCWSTR);
    HANDLE(WINAPI* CeFindFirstFile)(LPCWSTR, PublishedFindData*);
    BOOL(WINAPI* CeFindNextFile)(HANDLE, PublishedFindData*);
    BOOL(WINAPI* CeFindClose)(HANDLE);
    LONG(WINAPI* CeRegOpenKeyEx)(HKEY, LPCWSTR, DWORD, REGSAM, PHKEY);
    LONG(WINAPI* CeRegCreateKeyEx)
    (HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, PHKEY, LPDWORD);
    LONG(WINAPI* CeRegQueryValueEx)(HKEY, LPCWSTR, LPDWORD, LPDWORD, LPBYTE, LPDWORD);
    LONG(WINAPI* CeRegSetValueEx)(HKEY, LPCWSTR, DWORD, DWORD, const BYTE*, DWORD);
    LONG(WINAPI* CeRegCloseKey)(HKEY);
    LONG(WINAPI* CeRegDeleteKey)(HKEY, LPCWSTR);
    BOOL(WINAPI* CeGetSystemPowerStatusEx)(CePowerStatus*, BOOL);
    HRESULT(WINAPI* CeRapiGetError)();
    HRESULT(WINAPI* CeRapiInvoke)(LPCWSTR, LPCWSTR, DWORD, BYTE*, DWORD*, BYTE**, void**, DWORD);
};

// Null where the library is not there or is not for programs of this kind.
HMODULE LoadSystemRapi() {
    constexpr char File[] = "\\rapi.dll";
    char path[MAX_PATH];
    const UINT length = GetSystemDirectoryA(path, MAX_PATH);
    if (length == 0 || length + sizeof(File) > MAX_PATH)
        return nullptr;
    std::memcpy(path + length, File, sizeof(File));
    // The flag makes what the library itself needs come from its own folder first.
    return LoadLibraryExA(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

template <typename Function>
bool Find(HMODULE library, const char* name, Function*& function) {
    function = reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    return function != nullptr;
}

bool FindFileFunctions(HMODULE library, RapiFunctions& rapi) {
    return Find(library, "CeCreateFile", rapi.CeCreateFile) &&
           Find(library, "CeReadFile", rapi.CeReadFile) &&
           Find(library, "CeWriteFile", rapi.CeWriteFile) &&
           Find(library, "CeGetFileSize", rapi.CeGetFileSize) &&
           Find(library, "CeCloseHandle", rapi.CeCloseHandle) &&
           Find(library, "CeDeleteFile", rapi.CeDeleteFile) &&
           Find(library, "CeMoveFile", rapi.CeMoveFile) &&
           Find(library, "CeCopyFile", rapi.CeCopyFile) &&
           Find(library, "CeCreateDirectory", rapi.CeCreateDirectory) &&
           Find(library, "CeRemoveDirectory", rapi.CeRemoveDirectory) &&
           Find(library, "CeFindFirstFile", rapi.CeFindFirstFile) &&
           Find(library, "CeFindNextFile", rapi.CeFindNextFile) &&
           Find(library, "CeFindClose", rapi.CeFindClose);
}

bool FindOtherFunctions(HMODULE library, RapiFunctions& rapi) {
    return Find(library, "CeRapiInitEx", rapi.CeRapiInitEx) &&
           Find(library, "CeRapiUninit", rapi.CeRapiUninit) &&
           Find(library, "CeCreateProcess", rapi.CeCreateProcess) &&
           Find(library, "CeRegOpenKeyEx", rapi.CeRegOpenKeyEx) &&
           Find(library, "CeRegCreateKeyEx", rapi.CeRegCreateKeyEx) &&
           Find(library, "CeRegQueryValueEx", rapi.CeRegQueryValueEx) &&
           Find(library, "CeRegSetValueEx", rapi.CeRegSetValueEx) &&
           Find(library, "CeRegCloseKey", rapi.CeRegCloseKey) &&
           Find(library, "CeRegDeleteKey", rapi.CeRegDeleteKey) &&
           Find(library, "CeGetSystemPowerStatusEx", rapi.CeGetSystemPowerStatusEx) &&
           Find(library, "CeRapiGetError", rapi.CeRapiGetError) &&
           Find(library, "CeRapiInvoke", rapi.CeRapiInvoke);
}

// All functions or none; loaded once and kept for the whole run.
RapiFunctions LoadFunctions() {
    RapiFunctions rapi = {};
    const HMODULE library = LoadSystemRapi();
    if (library && FindFileFunctions(library, rapi) && FindOtherFunctions(library, rapi))
        return rapi;
    return {};
}

const RapiFunctions& Rapi() {
    static const RapiFunctions functions = LoadFunctions();
    return functions;
}

// Calls a function of the library, or gives `failure` without one. The last error of the PC stays
// as it was, whatever the library does with it.
template <typename Function, typename Result, typename... Arguments>
Result Call(Function* function, Result failure, Arguments... arguments) {
    if (!function)
        return failure;
    const DWORD lastError = GetLastError();
    const auto result = static_cast<Result>(function(arguments...));
    SetLastError(lastError);
    return result;
}

constexpr LONG NoConnection = ERROR_NOT_CONNECTED;
constexpr auto AlreadyInitialised = static_cast<std::int32_t>(0x80041001); // as published

// The record of the last init. RAPI writes the result into it when the connection is up, long after
// the call.
PublishedInit publishedInit;

LPCWSTR Wide(const char16_t* text) { return reinterpret_cast<LPCWSTR>(text); }

// Handles have 32 significant bits; the upper half is the sign's.
std::uint32_t Short(HANDLE handle) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(handle));
}
HANDLE Long(CeHandle handle) {
    return reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(static_cast<LONG>(handle)));
}
CeKey ShortKey(HKEY key) { return static_cast<CeKey>(reinterpret_cast<std::uintptr_t>(key)); }
HKEY LongKey(CeKey key) {
    return reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(key)));
}

// An event that stays unsignalled, in place of the connection's.
HANDLE NeverSignalled() {
    static const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    return event;
}

void CopyFound(const PublishedFindData& published, CeFindData* found) {
    static_assert(sizeof(found->name) == sizeof(published.name));
    found->attributes = published.attributes;
    std::memcpy(found->name, published.name, sizeof(found->name));
}

STARTUPINFOW PublishedStartup(const CeStartupInfo& startup) {
    STARTUPINFOW published = {};
    published.cb = sizeof(published);
    published.dwFlags = startup.flags;
    published.wShowWindow = startup.showMode;
    return published;
}

} // namespace

std::int32_t CeRapiInitEx(RapiInitRecord* record) {
    if (!Rapi().CeRapiInitEx) {
        record->event = Short(NeverSignalled());
        return 0;
    }
    const HANDLE event = std::exchange(publishedInit.event, nullptr);
    publishedInit.size = sizeof(publishedInit);
    std::int32_t result = Call(Rapi().CeRapiInitEx, std::int32_t{0}, &publishedInit);
    if (result == AlreadyInitialised) { // and the record was not filled in
        publishedInit.event = event;
        result = 0;
    }
    // A failed init leaves no event, and a wait without one would look like an answer.
    const bool hasEvent = result == 0 && publishedInit.event;
    record->event = Short(hasEvent ? publishedInit.event : NeverSignalled());
    record->result = static_cast<std::int32_t>(publishedInit.result);
    return result;
}

std::int32_t CeRapiUninit() {
    publishedInit.event = nullptr;
    return Call(Rapi().CeRapiUninit, std::int32_t{0});
}

BOOL CeCreateProcess(const char16_t* program, const char16_t* commandLine,
                     const CeStartupInfo* startup, CeProcessInformation* process) {
    STARTUPINFOW publishedStartup = startup ? PublishedStartup(*startup) : STARTUPINFOW{};
    PROCESS_INFORMATION information = {};
    // RAPI keeps the failure of a connection that was lost earlier: nothing can have been started
    // over that one.
    const bool connected = SUCCEEDED(Call(Rapi().CeRapiGetError, E_FAIL));
    const BOOL started =
        Call(Rapi().CeCreateProcess, FALSE, Wide(program), Wide(commandLine), nullptr, nullptr,
             FALSE, 0, nullptr, nullptr, startup ? &publishedStartup : nullptr, &information);
    if (!started) {
        if (connected && FAILED(Call(Rapi().CeRapiGetError, S_OK)))
            SetLastError(ERROR_CONNECTION_ABORTED);
        return FALSE;
    }
    if (process)
        *process = {Short(information.hProcess), Short(information.hThread),
                    information.dwProcessId, information.dwThreadId};
    SetLastError(NO_ERROR);
    return TRUE;
}

CeHandle CeCreateFile(const char16_t* path, std::uint32_t access, std::uint32_t share,
                      std::uint32_t disposition, std::uint32_t attributes) {
    return Short(Call(Rapi().CeCreateFile, INVALID_HANDLE_VALUE, Wide(path), access, share, nullptr,
                      disposition, attributes, nullptr));
}

BOOL CeReadFile(CeHandle file, void* buffer, std::uint32_t count, std::uint32_t* done) {
    DWORD read = 0;
    const BOOL result = Call(Rapi().CeReadFile, FALSE, Long(file), buffer, count, &read, nullptr);
    *done = read;
    return result;
}

BOOL CeWriteFile(CeHandle file, const void* data, std::uint32_t count, std::uint32_t* done) {
    DWORD written = 0;
    const BOOL result = Call(Rapi().CeWriteFile, FALSE, Long(file), data, count, &written, nullptr);
    *done = written;
    return result;
}

std::uint32_t CeGetFileSize(CeHandle file) {
    return Call(Rapi().CeGetFileSize, std::uint32_t{INVALID_FILE_SIZE}, Long(file), nullptr);
}

BOOL CeCloseHandle(CeHandle file) { return Call(Rapi().CeCloseHandle, FALSE, Long(file)); }

BOOL CeDeleteFile(const char16_t* path) { return Call(Rapi().CeDeleteFile, FALSE, Wide(path)); }

BOOL CeMoveFile(const char16_t* from, const char16_t* to) {
    return Call(Rapi().CeMoveFile, FALSE, Wide(from), Wide(to));
}

BOOL CeCopyFile(const char16_t* from, const char16_t* to, BOOL failIfExists) {
    return Call(Rapi().CeCopyFile, FALSE, Wide(from), Wide(to), failIfExists);
}

BOOL CeCreateDirectory(const char16_t* path) {
    return Call(Rapi().CeCreateDirectory, FALSE, Wide(path), nullptr);
}

BOOL CeRemoveDirectory(const char16_t* path) {
    return Call(Rapi().CeRemoveDirectory, FALSE, Wide(path));
}

CeHandle CeFindFirstFile(const char16_t* pattern, CeFindData* found) {
    PublishedFindData published = {};
    const CeHandle search =
        Short(Call(Rapi().CeFindFirstFile, INVALID_HANDLE_VALUE, Wide(pattern), &published));
    CopyFound(published, found);
    return search;
}

BOOL CeFindNextFile(CeHandle search, CeFindData* found) {
    PublishedFindData published = {};
    const BOOL next = Call(Rapi().CeFindNextFile, FALSE, Long(search), &published);
    CopyFound(published, found);
    return next;
}

BOOL CeFindClose(CeHandle search) { return Call(Rapi().CeFindClose, FALSE, Long(search)); }

std::int32_t CeRegOpenKeyEx(CeKey root, const char16_t* key, std::uint32_t access, CeKey* opened) {
    HKEY published = nullptr;
    const LONG result =
        Call(Rapi().CeRegOpenKeyEx, NoConnection, LongKey(root), Wide(key), 0, access, &published);
    *opened = ShortKey(published);
    return result;
}

std::int32_t CeRegCreateKeyEx(CeKey root, const char16_t* key, CeKey* opened,
                              std::uint32_t* disposition) {
    HKEY published = nullptr;
    DWORD created = 0;
    const LONG result = Call(Rapi().CeRegCreateKeyEx, NoConnection, LongKey(root), Wide(key), 0,
                             nullptr, 0, 0, nullptr, &published, &created);
    *opened = ShortKey(published);
    *disposition = created;
    return result;
}

std::int32_t CeRegQueryValueEx(CeKey key, const char16_t* name, void* buffer, std::uint32_t* size) {
    DWORD bytes = *size;
    const LONG result = Call(Rapi().CeRegQueryValueEx, NoConnection, LongKey(key), Wide(name),
                             nullptr, nullptr, static_cast<BYTE*>(buffer), &bytes);
    *size = bytes;
    return result;
}

std::int32_t CeRegSetValueEx(CeKey key, const char16_t* name, std::uint32_t type, const void* data,
                             std::uint32_t size) {
    return Call(Rapi().CeRegSetValueEx, NoConnection, LongKey(key), Wide(name), 0, type,
                static_cast<const BYTE*>(data), size);
}

std::int32_t CeRegCloseKey(CeKey key) {
    return Call(Rapi().CeRegCloseKey, NoConnection, LongKey(key));
}

std::int32_t CeRegDeleteKey(CeKey root, const char16_t* key) {
    return Call(Rapi().CeRegDeleteKey, NoConnection, LongKey(root), Wide(key));
}

BOOL CeGetSystemPowerStatusEx(CePowerStatus* status, BOOL update) {
    return Call(Rapi().CeGetSystemPowerStatusEx, FALSE, status, update);
}

std::int32_t CeRapiInvoke(const char16_t* library, const char16_t* function, std::uint32_t size,
                          const void* input) {
    DWORD outputSize = 0;
    BYTE* output = nullptr;
    // The published signature takes the input as writable; it is only read.
    auto* bytes = static_cast<BYTE*>(const_cast<void*>(input));
    return Call(Rapi().CeRapiInvoke, std::int32_t{E_FAIL}, Wide(library), Wide(function), size,
                bytes, &outputSize, &output, nullptr, 0);
}
