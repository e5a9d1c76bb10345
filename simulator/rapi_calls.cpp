// What the handheld answers to each RAPI request.
//
// Every operation is a row of one table: its name, and a function that reads its arguments and
// gives a function that carries the request out. The two are apart so that the line of a request
// can be printed, or the request dropped, before anything has happened.

#include "simulator/rapi_calls.h"

#include "simulator/device_errors.h"

#include "platform/base/text.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace simulator {

namespace {

using rapi_wire::Operation;
using rapi_wire::Reader;

constexpr std::uint32_t NoHandle = 0xFFFFFFFF;

struct Context {
    RapiDevice& device;
    RapiSession& session;
};

struct Row {
    Operation operation;
    const char* name;
    RapiRequest (*read)(Context context, Reader& arguments); // the line without the name
    std::uint32_t failure = 0;                               // its result when it is refused
};

std::string Narrow(std::u16string_view text) { return platform::Utf8FromUtf16(text); }

// In quotation marks, so that blanks at its ends can be seen; a control character as its number.
std::string Quoted(std::u16string_view text) {
    std::string quoted = "\"";
    for (const char16_t unit : text) {
        if (unit < u' ')
            quoted += "\\" + std::to_string(unit);
        else
            quoted += Narrow({&unit, 1});
    }
    return quoted + "\"";
}

// The content of a small text file; nothing for other data.
std::string QuotedContent(const Bytes& data) {
    constexpr std::size_t Longest = 100;
    const auto isPrintable = [](std::uint8_t byte) { return byte >= ' ' && byte < 0x7F; };
    if (data.empty() || data.size() > Longest || !std::ranges::all_of(data, isPrintable))
        return "";
    return Quoted(std::u16string(data.begin(), data.end()));
}

// A text with one terminator, or a number, as such; all else byte by byte.
std::string Describe(const RegistryValue& value) {
    constexpr std::uint32_t TextType = 1, NumberType = 4;
    const Bytes& data = value.data;
    if (value.type == NumberType && data.size() == 4)
        return Hex(Reader(data).Number());
    if (value.type == TextType && data.size() >= 2 && data.size() % 2 == 0) {
        std::u16string text;
        for (std::size_t at = 0; at < data.size(); at += 2)
            text += static_cast<char16_t>(data[at] | data[at + 1] << 8);
        if (text.find(u'\0') == text.size() - 1)
            return Quoted(text.substr(0, text.size() - 1));
    }
    std::string bytes = "type " + std::to_string(value.type) + ":";
    for (const std::uint8_t byte : data)
        bytes += " " + Hex(byte);
    return bytes;
}

// An answer whose result is 1 or 0.
void SetResult(RapiAnswer& answer, std::uint32_t error) {
    answer.error = error;
    answer.result = error == error::Success ? 1 : 0;
}

// An answer whose result is a handle, kept with the session, or -1.
void SetHandleResult(RapiAnswer& answer, RapiSession& session, const Outcome& outcome) {
    answer.error = outcome.error;
    answer.result = outcome.error == error::Success ? outcome.value : NoHandle;
    if (outcome.error == error::Success)
        session.handles.insert(outcome.value);
}

RapiRequest Hello(Context, Reader&) {
    return {"", [](RapiAnswer& answer) { answer.result = 1; }};
}

RapiRequest CreateProcess(Context context, Reader& arguments) {
    const std::u16string program = arguments.Text();
    const std::u16string commandLine = arguments.Text();
    return {Narrow(program),
            [=](RapiAnswer& answer) {
                SetResult(answer, context.device.programs.Start(program, commandLine));
            },
            Quoted(commandLine)};
}

RapiRequest CreateFile(Context context, Reader& arguments) {
    const std::u16string path = arguments.Text();
    const std::uint32_t access = arguments.Number();
    const std::uint32_t share = arguments.Number();
    const std::uint32_t disposition = arguments.Number();
    const std::uint32_t attributes = arguments.Number();
    return {Narrow(path),
            [=](RapiAnswer& answer) {
                context.device.programs.HandleOpening(path);
                SetHandleResult(
                    answer, context.session,
                    context.device.files.Open(path, access, share, disposition, attributes));
            },
            "access " + Hex(access) + ", share " + std::to_string(share) + ", disposition " +
                std::to_string(disposition) + ", attributes " + Hex(attributes)};
}

RapiRequest ReadFile(Context context, Reader& arguments) {
    const std::uint32_t handle = arguments.Number();
    const std::uint32_t count = arguments.Number();
    return {context.device.files.Describe(handle) + " " + std::to_string(count),
            [=](RapiAnswer& answer) {
                Bytes data;
                SetResult(answer, context.device.files.Read(handle, count, data));
                answer.outputs.Data(data.data(), data.size());
            }};
}

RapiRequest WriteFile(Context context, Reader& arguments) {
    const std::uint32_t handle = arguments.Number();
    const Bytes data = arguments.Data();
    return {context.device.files.Describe(handle) + " " + std::to_string(data.size()),
            [=](RapiAnswer& answer) {
                const Outcome outcome = context.device.files.Write(handle, data);
                SetResult(answer, outcome.error);
                answer.outputs.Number(outcome.value);
            },
            QuotedContent(data)};
}

RapiRequest GetFileSize(Context context, Reader& arguments) {
    const std::uint32_t handle = arguments.Number();
    return {context.device.files.Describe(handle), [=](RapiAnswer& answer) {
                const Outcome outcome = context.device.files.Size(handle);
                answer.error = outcome.error;
                answer.result = outcome.error == error::Success ? outcome.value : NoHandle;
            }};
}

RapiRequest CloseHandle(Context context, Reader& arguments) {
    const std::uint32_t handle = arguments.Number();
    return {context.device.files.Describe(handle), [=](RapiAnswer& answer) {
                context.session.handles.erase(handle);
                SetResult(answer, context.device.files.Close(handle));
            }};
}

RapiRequest DeleteFile(Context context, Reader& arguments) {
    const std::u16string path = arguments.Text();
    return {Narrow(path), [=](RapiAnswer& answer) {
                SetResult(answer, context.device.files.Delete(path));
                if (answer.error == error::Success)
                    context.device.programs.HandleDeletion(path);
            }};
}

RapiRequest MoveFile(Context context, Reader& arguments) {
    const std::u16string from = arguments.Text();
    const std::u16string to = arguments.Text();
    return {Narrow(from) + " -> " + Narrow(to),
            [=](RapiAnswer& answer) { SetResult(answer, context.device.files.Move(from, to)); }};
}

RapiRequest CopyFile(Context context, Reader& arguments) {
    const std::u16string from = arguments.Text();
    const std::u16string to = arguments.Text();
    const bool failIfExists = arguments.Number() != 0;
    return {Narrow(from) + " -> " + Narrow(to),
            [=](RapiAnswer& answer) {
                SetResult(answer, context.device.files.Copy(from, to, failIfExists));
            },
            failIfExists ? "if there is none" : "over one that is there"};
}

RapiRequest CreateDirectory(Context context, Reader& arguments) {
    const std::u16string path = arguments.Text();
    return {Narrow(path),
            [=](RapiAnswer& answer) { SetResult(answer, context.device.files.MakeFolder(path)); }};
}

RapiRequest RemoveDirectory(Context context, Reader& arguments) {
    const std::u16string path = arguments.Text();
    return {Narrow(path), [=](RapiAnswer& answer) {
                SetResult(answer, context.device.files.RemoveFolder(path));
            }};
}

RapiRequest FindFirstFile(Context context, Reader& arguments) {
    const std::u16string pattern = arguments.Text();
    return {Narrow(pattern), [=](RapiAnswer& answer) {
                FoundFile found;
                SetHandleResult(answer, context.session,
                                context.device.files.FindFirst(pattern, found));
                answer.outputs.Number(found.attributes).Text(found.name);
            }};
}

RapiRequest FindNextFile(Context context, Reader& arguments) {
    const std::uint32_t handle = arguments.Number();
    return {context.device.files.Describe(handle), [=](RapiAnswer& answer) {
                FoundFile found;
                SetResult(answer, context.device.files.FindNext(handle, found));
                answer.outputs.Number(found.attributes).Text(found.name);
            }};
}

RapiRequest RegOpenKey(Context context, Reader& arguments) {
    const std::uint32_t root = arguments.Number();
    const std::u16string path = arguments.Text();
    const std::uint32_t access = arguments.Number(); // every key may be read and written
    return {Narrow(path),
            [=](RapiAnswer& answer) {
                std::uint32_t key = 0;
                answer.result = context.device.registry.Open(root, path, key);
                if (answer.result == error::Success)
                    context.session.keys.insert(key);
                answer.outputs.Number(key);
            },
            "access " + std::to_string(access)};
}

RapiRequest RegCreateKey(Context context, Reader& arguments) {
    const std::uint32_t root = arguments.Number();
    const std::u16string path = arguments.Text();
    return {Narrow(path), [=](RapiAnswer& answer) {
                constexpr std::uint32_t CreatedNewKey = 1, OpenedExistingKey = 2;
                std::uint32_t key = 0;
                bool made = false;
                answer.result = context.device.registry.Create(root, path, key, made);
                if (answer.result == error::Success)
                    context.session.keys.insert(key);
                answer.outputs.Number(key).Number(made ? CreatedNewKey : OpenedExistingKey);
            }};
}

RapiRequest RegQueryValue(Context context, Reader& arguments) {
    const std::uint32_t key = arguments.Number();
    const std::u16string name = arguments.Text();
    const std::uint32_t capacity = arguments.Number();
    return {context.device.registry.Describe(key) + " " + Narrow(name),
            [=](RapiAnswer& answer) {
                RegistryValue value;
                answer.result = context.device.registry.Query(key, name, capacity, value);
                answer.outputs.Number(value.type).Data(value.data.data(), value.data.size());
            },
            std::to_string(capacity) + " bytes at most"};
}

RapiRequest RegSetValue(Context context, Reader& arguments) {
    const std::uint32_t key = arguments.Number();
    RegistryValue value;
    value.name = arguments.Text();
    value.type = arguments.Number();
    value.data = arguments.Data();
    return {context.device.registry.Describe(key) + " " + Narrow(value.name),
            [=](RapiAnswer& answer) { answer.result = context.device.registry.Set(key, value); },
            Describe(value)};
}

RapiRequest RegCloseKey(Context context, Reader& arguments) {
    const std::uint32_t key = arguments.Number();
    return {context.device.registry.Describe(key), [=](RapiAnswer& answer) {
                context.session.keys.erase(key);
                answer.result = context.device.registry.Close(key);
            }};
}

RapiRequest RegDeleteKey(Context context, Reader& arguments) {
    const std::uint32_t root = arguments.Number();
    const std::u16string path = arguments.Text();
    return {Narrow(path), [=](RapiAnswer& answer) {
                answer.result = context.device.registry.Delete(root, path);
            }};
}

// The published record of 24 bytes: external power first, then the state of the main battery.
RapiRequest GetSystemPowerStatus(Context context, Reader&) {
    return {"", [=](RapiAnswer& answer) {
                constexpr std::size_t RecordSize = 24;
                constexpr std::uint8_t BatteryHigh = 1, BatteryCharging = 8, Percent = 90;
                const bool external = context.device.folder.ExternalPower();
                Bytes record(RecordSize);
                record[0] = external ? 1 : context.device.faults.batteryByte;
                record[1] = external ? BatteryCharging : BatteryHigh;
                record[2] = Percent;
                SetResult(answer, error::Success);
                answer.outputs.Data(record.data(), record.size());
            }};
}

RapiRequest Invoke(Context context, Reader& arguments) {
    const std::u16string library = arguments.Text();
    const std::u16string function = arguments.Text();
    const Bytes input = arguments.Data();
    return {Narrow(library) + " " + Narrow(function), [=](RapiAnswer& answer) {
                answer.result = context.device.programs.Invoke(library, function, input);
            }};
}

constexpr Row Rows[] = {
    {Operation::Hello, "Hello", Hello},
    {Operation::CreateProcess, "CreateProcess", CreateProcess},
    {Operation::CreateFile, "CreateFile", CreateFile, NoHandle},
    {Operation::ReadFile, "ReadFile", ReadFile},
    {Operation::WriteFile, "WriteFile", WriteFile},
    {Operation::GetFileSize, "GetFileSize", GetFileSize, NoHandle},
    {Operation::CloseHandle, "CloseHandle", CloseHandle},
    {Operation::DeleteFile, "DeleteFile", DeleteFile},
    {Operation::MoveFile, "MoveFile", MoveFile},
    {Operation::CopyFile, "CopyFile", CopyFile},
    {Operation::CreateDirectory, "CreateDirectory", CreateDirectory},
    {Operation::RemoveDirectory, "RemoveDirectory", RemoveDirectory},
    {Operation::FindFirstFile, "FindFirstFile", FindFirstFile, NoHandle},
    {Operation::FindNextFile, "FindNextFile", FindNextFile},
    {Operation::FindClose, "FindClose", CloseHandle},
    {Operation::RegOpenKey, "RegOpenKey", RegOpenKey, error::AccessDenied},
    {Operation::RegCreateKey, "RegCreateKey", RegCreateKey, error::AccessDenied},
    {Operation::RegQueryValue, "RegQueryValue", RegQueryValue, error::AccessDenied},
    {Operation::RegSetValue, "RegSetValue", RegSetValue, error::AccessDenied},
    {Operation::RegCloseKey, "RegCloseKey", RegCloseKey, error::AccessDenied},
    {Operation::RegDeleteKey, "RegDeleteKey", RegDeleteKey, error::AccessDenied},
    {Operation::GetSystemPowerStatus, "GetSystemPowerStatus", GetSystemPowerStatus},
    {Operation::Invoke, "Invoke", Invoke},
};

} // namespace

std::vector<std::uint8_t> RapiAnswer::Frame() const {
    const std::vector<std::uint8_t> tail = outputs.Frame();
    const auto outputSize = static_cast<std::uint32_t>(tail.size() - FrameLengthSize);
    // Length, error, result; then the outputs as in a frame of their own.
    auto frame = rapi_wire::Writer().Number(outputSize + 8).Number(error).Number(result).Frame();
    frame.erase(frame.begin(), frame.begin() + FrameLengthSize);
    frame.insert(frame.end(), tail.begin() + FrameLengthSize, tail.end());
    return frame;
}

std::optional<RapiRequest> ReadRequest(RapiDevice& device, RapiSession& session,
                                       std::vector<std::uint8_t> frame) {
    Reader arguments(std::move(frame));
    const auto operation = static_cast<Operation>(arguments.Number());
    const auto row = std::ranges::find(Rows, operation, &Row::operation);
    if (row == std::end(Rows))
        return std::nullopt;
    RapiRequest request = row->read({device, session}, arguments);
    if (!arguments.Good())
        return std::nullopt;
    request.failure = row->failure;
    request.line = request.line.empty() ? row->name : row->name + (" " + request.line);
    return request;
}

void CloseAll(RapiDevice& device, RapiSession& session) {
    for (const std::uint32_t handle : session.handles)
        device.files.Close(handle);
    for (const std::uint32_t key : session.keys)
        device.registry.Close(key);
    session = {};
}

} // namespace simulator
