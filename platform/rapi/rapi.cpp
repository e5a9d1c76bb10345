// The calls of RAPI, each a request to the handheld and its answer.
//
// The caller's last error is not ours: the wizard reads it long after a call here, so each one puts
// back what it found. Starting a program is the exception that RAPI has always had.

#include "rapi/rapi.h"

#include "platform/rapi/rapi_session.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <vector>

using platform::RapiSession;
using rapi_wire::Operation;
using rapi_wire::Reader;
using rapi_wire::Writer;

namespace {

constexpr std::int32_t Failed = static_cast<std::int32_t>(0x80004005);          // E_FAIL
constexpr std::int32_t InvalidArgument = static_cast<std::int32_t>(0x80070057); // E_INVALIDARG
constexpr std::uint32_t NoHandle = 0xFFFFFFFF;

// What one request moves at most, in bytes; with the rest of its request it fits into a frame.
constexpr std::uint32_t MaxPieceSize = 0x80000;
static_assert(MaxPieceSize + 0x1000 < rapi_wire::MaxFrameSize);

class LastErrorKept {
public:
    ~LastErrorKept() { SetLastError(error_); }

private:
    const DWORD error_ = GetLastError();
};

bool IsNonZero(std::uint32_t result) { return result != 0; }
bool IsZero(std::uint32_t result) { return result == 0; }
bool IsHandle(std::uint32_t result) { return result != NoHandle; }
bool NoOutputs(Reader&) { return true; }

Writer Request(Operation operation) {
    return Writer().Number(static_cast<std::uint32_t>(operation));
}

std::u16string_view TextOf(const char16_t* text) { return text ? text : u""; }

BOOL CallBool(const Writer& request, const RapiSession::ReadOutputs& readOutputs = NoOutputs) {
    const LastErrorKept kept;
    return RapiSession::Instance().Call(request, IsNonZero, readOutputs).value_or(0) != 0;
}

CeHandle CallHandle(const Writer& request,
                    const RapiSession::ReadOutputs& readOutputs = NoOutputs) {
    const LastErrorKept kept;
    return RapiSession::Instance().Call(request, IsHandle, readOutputs).value_or(NoHandle);
}

std::int32_t CallRegistry(const Writer& request,
                          const RapiSession::ReadOutputs& readOutputs = NoOutputs) {
    const LastErrorKept kept;
    return static_cast<std::int32_t>(
        RapiSession::Instance().Call(request, IsZero, readOutputs).value_or(ERROR_GEN_FAILURE));
}

// Data that must fit into the caller's buffer.
bool ReadInto(Reader& outputs, void* buffer, std::uint32_t capacity, std::uint32_t* size) {
    const std::vector<std::uint8_t> data = outputs.Data();
    if (!outputs.Good() || data.size() > capacity)
        return false;
    std::copy(data.begin(), data.end(), static_cast<std::uint8_t*>(buffer));
    *size = static_cast<std::uint32_t>(data.size());
    return true;
}

// A name that is too long for the record is cut.
bool ReadFound(Reader& outputs, CeFindData* found) {
    found->attributes = outputs.Number();
    const std::u16string name = outputs.Text();
    const std::size_t length = std::min(name.size(), std::size(found->name) - 1);
    std::fill(std::begin(found->name), std::end(found->name), u'\0');
    std::copy_n(name.begin(), length, found->name);
    return outputs.Good();
}

// Moves `count` bytes piece by piece until a piece comes short. `piece` moves so many bytes from an
// offset on and gives how many it has moved; false ends the whole.
template <class Piece>
BOOL MoveInPieces(std::uint32_t count, std::uint32_t* done, Piece piece) {
    std::uint32_t total = 0;
    std::uint32_t moved = 0;
    std::uint32_t wanted = 0;
    BOOL good = FALSE;
    do {
        wanted = std::min(count - total, MaxPieceSize);
        moved = 0;
        good = piece(total, wanted, &moved);
        total += good ? moved : 0;
    } while (good && moved == wanted && total < count);
    if (done)
        *done = total;
    return good;
}

BOOL ReadPiece(CeHandle file, std::uint8_t* buffer, std::uint32_t count, std::uint32_t* done) {
    return CallBool(Request(Operation::ReadFile).Number(file).Number(count),
                    [=](Reader& outputs) { return ReadInto(outputs, buffer, count, done); });
}

BOOL WritePiece(CeHandle file, const std::uint8_t* data, std::uint32_t count, std::uint32_t* done) {
    return CallBool(Request(Operation::WriteFile).Number(file).Data(data, count),
                    [=](Reader& outputs) {
                        *done = outputs.Number();
                        return *done <= count;
                    });
}

} // namespace

std::int32_t CeRapiInitEx(RapiInitRecord* record) {
    const LastErrorKept kept;
    if (!record || record->size != sizeof(RapiInitRecord))
        return InvalidArgument;
    HANDLE event = nullptr;
    const bool connecting = RapiSession::Instance().Open(event);
    record->event = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(event));
    record->result = connecting ? 0 : Failed;
    return record->result;
}

std::int32_t CeRapiUninit() {
    const LastErrorKept kept;
    RapiSession::Instance().Close();
    return 0;
}

BOOL CeCreateProcess(const char16_t* program, const char16_t* commandLine, const CeStartupInfo*,
                     CeProcessInformation* process) {
    const bool reached = RapiSession::Instance().IsConnected();
    const BOOL started =
        CallBool(Request(Operation::CreateProcess).Text(TextOf(program)).Text(TextOf(commandLine)));
    if (process)
        *process = {};
    if (started)
        SetLastError(ERROR_SUCCESS);
    else if (reached && !RapiSession::Instance().IsConnected())
        SetLastError(ERROR_CONNECTION_ABORTED);
    return started;
}

CeHandle CeCreateFile(const char16_t* path, std::uint32_t access, std::uint32_t share,
                      std::uint32_t disposition, std::uint32_t attributes) {
    return CallHandle(Request(Operation::CreateFile)
                          .Text(TextOf(path))
                          .Number(access)
                          .Number(share)
                          .Number(disposition)
                          .Number(attributes));
}

BOOL CeReadFile(CeHandle file, void* buffer, std::uint32_t count, std::uint32_t* done) {
    const auto target = static_cast<std::uint8_t*>(buffer);
    return MoveInPieces(count, done, [=](std::uint32_t at, std::uint32_t size, auto* moved) {
        return ReadPiece(file, target + at, size, moved);
    });
}

BOOL CeWriteFile(CeHandle file, const void* data, std::uint32_t count, std::uint32_t* done) {
    const auto source = static_cast<const std::uint8_t*>(data);
    return MoveInPieces(count, done, [=](std::uint32_t at, std::uint32_t size, auto* moved) {
        return WritePiece(file, source + at, size, moved);
    });
}

std::uint32_t CeGetFileSize(CeHandle file) {
    return CallHandle(Request(Operation::GetFileSize).Number(file));
}

BOOL CeCloseHandle(CeHandle file) { return CallBool(Request(Operation::CloseHandle).Number(file)); }

BOOL CeDeleteFile(const char16_t* path) {
    return CallBool(Request(Operation::DeleteFile).Text(TextOf(path)));
}

BOOL CeMoveFile(const char16_t* from, const char16_t* to) {
    return CallBool(Request(Operation::MoveFile).Text(TextOf(from)).Text(TextOf(to)));
}

BOOL CeCopyFile(const char16_t* from, const char16_t* to, BOOL failIfExists) {
    return CallBool(Request(Operation::CopyFile)
                        .Text(TextOf(from))
                        .Text(TextOf(to))
                        .Number(failIfExists ? 1 : 0));
}

BOOL CeCreateDirectory(const char16_t* path) {
    return CallBool(Request(Operation::CreateDirectory).Text(TextOf(path)));
}

BOOL CeRemoveDirectory(const char16_t* path) {
    return CallBool(Request(Operation::RemoveDirectory).Text(TextOf(path)));
}

CeHandle CeFindFirstFile(const char16_t* pattern, CeFindData* found) {
    return CallHandle(Request(Operation::FindFirstFile).Text(TextOf(pattern)),
                      [=](Reader& outputs) { return ReadFound(outputs, found); });
}

BOOL CeFindNextFile(CeHandle search, CeFindData* found) {
    return CallBool(Request(Operation::FindNextFile).Number(search),
                    [=](Reader& outputs) { return ReadFound(outputs, found); });
}

BOOL CeFindClose(CeHandle search) { return CallBool(Request(Operation::FindClose).Number(search)); }

std::int32_t CeRegOpenKeyEx(CeKey root, const char16_t* key, std::uint32_t access, CeKey* opened) {
    return CallRegistry(
        Request(Operation::RegOpenKey).Number(root).Text(TextOf(key)).Number(access),
        [=](Reader& outputs) {
            *opened = outputs.Number();
            return true;
        });
}

std::int32_t CeRegCreateKeyEx(CeKey root, const char16_t* key, CeKey* opened,
                              std::uint32_t* disposition) {
    return CallRegistry(Request(Operation::RegCreateKey).Number(root).Text(TextOf(key)),
                        [=](Reader& outputs) {
                            *opened = outputs.Number();
                            const std::uint32_t made = outputs.Number();
                            if (disposition)
                                *disposition = made;
                            return true;
                        });
}

std::int32_t CeRegQueryValueEx(CeKey key, const char16_t* name, void* buffer, std::uint32_t* size) {
    return CallRegistry(
        Request(Operation::RegQueryValue).Number(key).Text(TextOf(name)).Number(*size),
        [=](Reader& outputs) {
            outputs.Number(); // the type: callers know it
            return ReadInto(outputs, buffer, *size, size);
        });
}

std::int32_t CeRegSetValueEx(CeKey key, const char16_t* name, std::uint32_t type, const void* data,
                             std::uint32_t size) {
    return CallRegistry(Request(Operation::RegSetValue)
                            .Number(key)
                            .Text(TextOf(name))
                            .Number(type)
                            .Data(data, size));
}

std::int32_t CeRegCloseKey(CeKey key) {
    return CallRegistry(Request(Operation::RegCloseKey).Number(key));
}

std::int32_t CeRegDeleteKey(CeKey root, const char16_t* key) {
    return CallRegistry(Request(Operation::RegDeleteKey).Number(root).Text(TextOf(key)));
}

BOOL CeGetSystemPowerStatusEx(CePowerStatus* status, BOOL) {
    return CallBool(Request(Operation::GetSystemPowerStatus), [=](Reader& outputs) {
        CePowerStatus read = {};
        std::uint32_t size = 0;
        const bool whole = ReadInto(outputs, &read, sizeof(read), &size) && size == sizeof(read);
        if (whole)
            *status = read;
        return whole;
    });
}

std::int32_t CeRapiInvoke(const char16_t* library, const char16_t* function, std::uint32_t size,
                          const void* input) {
    const LastErrorKept kept;
    const auto anyResult = [](std::uint32_t) { return true; };
    const auto result = RapiSession::Instance().Call(
        Request(Operation::Invoke).Text(TextOf(library)).Text(TextOf(function)).Data(input, size),
        anyResult, NoOutputs);
    return result ? static_cast<std::int32_t>(*result) : Failed;
}
