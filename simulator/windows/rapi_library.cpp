// A rapi.dll for the wizard under Wine: the published calls, carried to the simulated handheld.
//
// It speaks the frames of rapi_wire.h to the connection manager beside it, over 127.0.0.1, as
// Wine has no local sockets. All that the wizard uses is here, with the published signatures and
// records; outputs for which it passes no buffer are left out.

#include "simulator/windows/handle.h"
#include "simulator/windows/loopback.h"
// Behind the header of Windows, whose macros rename half of the operations, here as there.
#include "platform/include/rapi_wire.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>

#define EXPORT extern "C" __declspec(dllexport)

namespace {

using rapi_wire::Operation;
using rapi_wire::Reader;
using rapi_wire::Writer;

struct InitRecord { // RAPIINIT
    DWORD size;
    HANDLE event;
    HRESULT result;
};

struct FoundRecord { // CE_FIND_DATA
    DWORD attributes;
    FILETIME created, accessed, written;
    DWORD sizeHigh, sizeLow;
    DWORD objectId;
    WCHAR name[MAX_PATH];
};

constexpr std::uint32_t NoHandle = 0xFFFFFFFF;
constexpr DWORD RetryMilliseconds = 100;
constexpr DWORD MaxTransferSize = 0x80000;
constexpr auto AlreadyInitialised = static_cast<HRESULT>(0x80041001); // as published

std::mutex connectionMutex; // of the next three
loopback::Socket connection;
bool isLost = false;
SOCKET greetingSocket = INVALID_SOCKET; // of a connection whose handheld has not answered yet
Handle connected, stop;
Handle connector; // the thread that greets until a handheld answers

std::optional<Reader> Exchange(const loopback::Socket& socket, const Writer& request) {
    const std::vector<std::uint8_t> frame = request.Frame();
    std::uint8_t length[4];
    if (!socket.Send(frame.data(), frame.size()) || !socket.Receive(length, sizeof(length)))
        return std::nullopt;
    const std::uint32_t size = Reader({length, length + sizeof(length)}).Number();
    std::vector<std::uint8_t> answer(std::min(size, rapi_wire::MaxFrameSize));
    if (size > rapi_wire::MaxFrameSize || !socket.Receive(answer.data(), answer.size()))
        return std::nullopt;
    return Reader(std::move(answer));
}

Writer Request(Operation operation) {
    return Writer().Number(static_cast<std::uint32_t>(operation));
}

void SetGreetingSocket(SOCKET socket) {
    const std::lock_guard lock(connectionMutex);
    greetingSocket = socket;
}

// A handheld that is not in its normal mode may leave the greeting unanswered, until CeRapiUninit
// ends the connection.
bool Connect() {
    loopback::Socket socket = loopback::Connect(loopback::ManagerPort());
    SetGreetingSocket(socket.Get());
    auto answer = Exchange(socket, Request(Operation::Hello));
    SetGreetingSocket(INVALID_SOCKET);
    if (!answer || (answer->Number(), answer->Number()) != 1)
        return false;
    const std::lock_guard lock(connectionMutex);
    connection = std::move(socket);
    isLost = false;
    SetEvent(connected.get());
    return true;
}

DWORD WINAPI KeepConnecting(void*) {
    while (!Connect() && WaitForSingleObject(stop.get(), RetryMilliseconds) == WAIT_TIMEOUT) {
    }
    return 0;
}

// The result of a call, and its outputs.
struct Answer {
    std::uint32_t result;
    Reader outputs;
};

// Nothing where no handheld answers.
std::optional<Answer> Call(const Writer& request) {
    const std::lock_guard lock(connectionMutex);
    auto outputs = connection.IsOpen() ? Exchange(connection, request) : std::nullopt;
    if (outputs) {
        outputs->Number(); // the device's last error, which the wizard does not use
        const std::uint32_t result = outputs->Number();
        if (outputs->Good())
            return Answer{result, std::move(*outputs)};
    }
    isLost = isLost || connection.IsOpen();
    connection = {};
    return std::nullopt;
}

BOOL CallBool(const Writer& request) {
    const auto answer = Call(request);
    return answer && answer->result != 0;
}

LONG CallRegistry(const Writer& request, std::optional<Answer>* outputs = nullptr) {
    auto answer = Call(request);
    const LONG result = answer ? static_cast<LONG>(answer->result) : ERROR_NOT_CONNECTED;
    if (outputs)
        *outputs = std::move(answer);
    return result;
}

std::u16string_view Text(LPCWSTR text) {
    return text ? std::u16string_view(reinterpret_cast<const char16_t*>(text)) : u"";
}
std::uint32_t Number(const void* handle) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(handle));
}
// Numbers of handles fill up with the sign, so that -1 stays -1.
template <class Handle>
Handle HandleOf(std::uint32_t number) {
    return reinterpret_cast<Handle>(static_cast<LONG_PTR>(static_cast<LONG>(number)));
}

void ReadFound(Reader& outputs, FoundRecord* found) {
    *found = {};
    found->attributes = outputs.Number();
    const std::u16string name = outputs.Text();
    std::copy_n(name.begin(), std::min<std::size_t>(name.size(), MAX_PATH - 1), found->name);
}

// Copies data into the caller's buffer and gives its size; false where it does not fit.
bool ReadData(Reader& outputs, void* buffer, DWORD* size) {
    const std::vector<std::uint8_t> data = outputs.Data();
    if (data.size() > *size)
        return false;
    *size = static_cast<DWORD>(data.size());
    std::copy(data.begin(), data.end(), static_cast<std::uint8_t*>(buffer));
    return true;
}

} // namespace

EXPORT HRESULT WINAPI CeRapiInitEx(InitRecord* record) {
    if (!record || record->size != sizeof(InitRecord))
        return E_INVALIDARG;
    record->event = nullptr;
    if (connector)
        return AlreadyInitialised;
    // Without ActiveSync's process the real library fails, too, and hands out no event.
    if (!loopback::Connect(loopback::ManagerPort()).IsOpen())
        return E_FAIL;
    connected = Handle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    stop = Handle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    connector = Handle(CreateThread(nullptr, 0, KeepConnecting, nullptr, 0, nullptr));
    record->event = connected.get();
    record->result = S_OK;
    return S_OK;
}

EXPORT HRESULT WINAPI CeRapiUninit() {
    if (!connector)
        return S_OK;
    SetEvent(stop.get());
    do { // an attempt may just have begun
        const std::lock_guard lock(connectionMutex);
        shutdown(greetingSocket, SD_BOTH);
    } while (WaitForSingleObject(connector.get(), RetryMilliseconds) == WAIT_TIMEOUT);
    for (Handle* handle : {&connector, &stop, &connected})
        handle->reset();
    const std::lock_guard lock(connectionMutex);
    connection = {};
    return S_OK;
}

EXPORT HRESULT WINAPI CeRapiGetError() {
    const std::lock_guard lock(connectionMutex);
    return isLost ? HRESULT_FROM_WIN32(ERROR_CONNECTION_ABORTED) : S_OK;
}

EXPORT BOOL WINAPI CeCreateProcess(LPCWSTR program, LPCWSTR commandLine, LPSECURITY_ATTRIBUTES,
                                   LPSECURITY_ATTRIBUTES, BOOL, DWORD, LPVOID, LPWSTR,
                                   LPSTARTUPINFOW, LPPROCESS_INFORMATION process) {
    if (process)
        *process = {};
    return CallBool(Request(Operation::CreateProcess).Text(Text(program)).Text(Text(commandLine)));
}

EXPORT HANDLE WINAPI CeCreateFile(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES,
                                  DWORD disposition, DWORD attributes, HANDLE) {
    const auto answer = Call(Request(Operation::CreateFile)
                                 .Text(Text(path))
                                 .Number(access)
                                 .Number(share)
                                 .Number(disposition)
                                 .Number(attributes));
    return HandleOf<HANDLE>(answer ? answer->result : NoHandle);
}

EXPORT BOOL WINAPI CeReadFile(HANDLE file, LPVOID buffer, DWORD count, LPDWORD done, LPOVERLAPPED) {
    for (*done = 0; *done < count;) {
        const DWORD wanted = std::min(count - *done, MaxTransferSize);
        auto answer = Call(Request(Operation::ReadFile).Number(Number(file)).Number(wanted));
        DWORD read = wanted;
        if (!answer || answer->result == 0 ||
            !ReadData(answer->outputs, static_cast<std::uint8_t*>(buffer) + *done, &read))
            return FALSE;
        *done += read;
        if (read < wanted)
            break;
    }
    return TRUE;
}

EXPORT BOOL WINAPI CeWriteFile(HANDLE file, LPCVOID data, DWORD count, LPDWORD done, LPOVERLAPPED) {
    *done = 0;
    do {
        const DWORD wanted = std::min(count - *done, MaxTransferSize);
        auto answer = Call(Request(Operation::WriteFile)
                               .Number(Number(file))
                               .Data(static_cast<const std::uint8_t*>(data) + *done, wanted));
        if (!answer || answer->result == 0)
            return FALSE;
        const DWORD written = answer->outputs.Number();
        *done += written;
        if (written < wanted)
            break;
    } while (*done < count);
    return TRUE;
}

EXPORT DWORD WINAPI CeGetFileSize(HANDLE file, LPDWORD) {
    const auto answer = Call(Request(Operation::GetFileSize).Number(Number(file)));
    return answer ? answer->result : INVALID_FILE_SIZE;
}

EXPORT BOOL WINAPI CeCloseHandle(HANDLE file) {
    return CallBool(Request(Operation::CloseHandle).Number(Number(file)));
}

EXPORT BOOL WINAPI CeDeleteFile(LPCWSTR path) {
    return CallBool(Request(Operation::DeleteFile).Text(Text(path)));
}

EXPORT BOOL WINAPI CeMoveFile(LPCWSTR from, LPCWSTR to) {
    return CallBool(Request(Operation::MoveFile).Text(Text(from)).Text(Text(to)));
}

EXPORT BOOL WINAPI CeCopyFile(LPCWSTR from, LPCWSTR to, BOOL failIfExists) {
    return CallBool(
        Request(Operation::CopyFile).Text(Text(from)).Text(Text(to)).Number(failIfExists != 0));
}

EXPORT BOOL WINAPI CeCreateDirectory(LPCWSTR path, LPSECURITY_ATTRIBUTES) {
    return CallBool(Request(Operation::CreateDirectory).Text(Text(path)));
}

EXPORT BOOL WINAPI CeRemoveDirectory(LPCWSTR path) {
    return CallBool(Request(Operation::RemoveDirectory).Text(Text(path)));
}

EXPORT HANDLE WINAPI CeFindFirstFile(LPCWSTR pattern, FoundRecord* found) {
    auto answer = Call(Request(Operation::FindFirstFile).Text(Text(pattern)));
    if (answer && answer->result != NoHandle)
        ReadFound(answer->outputs, found);
    return HandleOf<HANDLE>(answer ? answer->result : NoHandle);
}

EXPORT BOOL WINAPI CeFindNextFile(HANDLE search, FoundRecord* found) {
    auto answer = Call(Request(Operation::FindNextFile).Number(Number(search)));
    if (!answer || answer->result == 0)
        return FALSE;
    ReadFound(answer->outputs, found);
    return TRUE;
}

EXPORT BOOL WINAPI CeFindClose(HANDLE search) {
    return CallBool(Request(Operation::FindClose).Number(Number(search)));
}

EXPORT LONG WINAPI CeRegOpenKeyEx(HKEY root, LPCWSTR key, DWORD, REGSAM access, PHKEY opened) {
    std::optional<Answer> answer;
    const LONG result = CallRegistry(
        Request(Operation::RegOpenKey).Number(Number(root)).Text(Text(key)).Number(access),
        &answer);
    if (result == ERROR_SUCCESS)
        *opened = HandleOf<HKEY>(answer->outputs.Number());
    return result;
}

EXPORT LONG WINAPI CeRegCreateKeyEx(HKEY root, LPCWSTR key, DWORD, LPWSTR, DWORD, REGSAM,
                                    LPSECURITY_ATTRIBUTES, PHKEY opened, LPDWORD disposition) {
    std::optional<Answer> answer;
    const LONG result = CallRegistry(
        Request(Operation::RegCreateKey).Number(Number(root)).Text(Text(key)), &answer);
    if (result == ERROR_SUCCESS) {
        *opened = HandleOf<HKEY>(answer->outputs.Number());
        const DWORD made = answer->outputs.Number();
        if (disposition)
            *disposition = made;
    }
    return result;
}

EXPORT LONG WINAPI CeRegQueryValueEx(HKEY key, LPCWSTR name, LPDWORD, LPDWORD type, LPBYTE data,
                                     LPDWORD size) {
    std::optional<Answer> answer;
    const LONG result = CallRegistry(
        Request(Operation::RegQueryValue).Number(Number(key)).Text(Text(name)).Number(*size),
        &answer);
    if (result != ERROR_SUCCESS)
        return result;
    const DWORD stored = answer->outputs.Number();
    if (type)
        *type = stored;
    return ReadData(answer->outputs, data, size) ? ERROR_SUCCESS : ERROR_MORE_DATA;
}

EXPORT LONG WINAPI CeRegSetValueEx(HKEY key, LPCWSTR name, DWORD, DWORD type, const BYTE* data,
                                   DWORD size) {
    return CallRegistry(Request(Operation::RegSetValue)
                            .Number(Number(key))
                            .Text(Text(name))
                            .Number(type)
                            .Data(data, size));
}

EXPORT LONG WINAPI CeRegCloseKey(HKEY key) {
    return CallRegistry(Request(Operation::RegCloseKey).Number(Number(key)));
}

EXPORT LONG WINAPI CeRegDeleteKey(HKEY root, LPCWSTR key) {
    return CallRegistry(Request(Operation::RegDeleteKey).Number(Number(root)).Text(Text(key)));
}

// SYSTEM_POWER_STATUS_EX, 24 bytes.
EXPORT BOOL WINAPI CeGetSystemPowerStatusEx(void* status, BOOL) {
    auto answer = Call(Request(Operation::GetSystemPowerStatus));
    DWORD size = 24;
    return answer && answer->result != 0 && ReadData(answer->outputs, status, &size) && size == 24;
}

EXPORT HRESULT WINAPI CeRapiInvoke(LPCWSTR library, LPCWSTR function, DWORD size, BYTE* input,
                                   DWORD* outputSize, BYTE** output, void**, DWORD) {
    *outputSize = 0;
    *output = nullptr;
    const auto answer =
        Call(Request(Operation::Invoke).Text(Text(library)).Text(Text(function)).Data(input, size));
    return answer ? static_cast<HRESULT>(answer->result) : E_FAIL;
}
