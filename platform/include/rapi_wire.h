// The wire between a RAPI client and the handheld, as the connection manager carries it.
//
// A stream of frames over a local socket: 32-bit length of what follows, then the frame, all
// integers little endian. A request is an Operation (32 bits) and its arguments; the reply is the
// device's last error (32 bits), the call's result (32 bits) and its outputs. Texts are UTF-16
// without terminator, texts and data alike as a 32-bit count of bytes and the bytes. One request
// is answered before the next is sent. A frame is at most MaxFrameSize long; a longer one, or one
// whose inner counts do not fit, ends the connection.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace rapi_wire {

constexpr std::uint32_t MaxFrameSize = 0x100000;

// Arguments -> outputs beside error and result. Handles are numbers of the device.
enum class Operation : std::uint32_t {
    Hello = 1,       // -> nothing; result 1. Answered only while the handheld runs normally.
    CreateProcess,   // program text, command line text -> nothing; result 1 started, else 0
    CreateFile,      // path text, access, share, disposition, attributes -> result: handle or -1
    ReadFile,        // handle, count -> data; result 1 or 0
    WriteFile,       // handle, data -> count written; result 1 or 0
    GetFileSize,     // handle -> result: size or -1
    CloseHandle,     // handle -> result 1 or 0
    DeleteFile,      // path -> result 1 or 0
    MoveFile,        // old path, new path -> result 1 or 0
    CopyFile,        // from, to, fail if it exists (0 or 1) -> result 1 or 0
    CreateDirectory, // path -> result 1 or 0
    RemoveDirectory, // path -> result 1 or 0
    FindFirstFile,   // pattern -> attributes, name text; result: handle or -1
    FindNextFile,    // handle -> attributes, name text; result 1 or 0
    FindClose,       // handle -> result 1 or 0
    RegOpenKey,      // root, key text, access -> key handle; result: error code, 0 success
    RegCreateKey,    // root, key text -> key handle, disposition; result: error code
    RegQueryValue,   // key handle, name text, capacity in bytes -> type, data; result: error code
    RegSetValue,     // key handle, name text, type, data -> result: error code
    RegCloseKey,     // key handle -> result: error code
    RegDeleteKey,    // root, key text: with its values -> result: error code
    GetSystemPowerStatus, // -> data: the SYSTEM_POWER_STATUS_EX bytes; result 1 or 0
    Invoke,               // DLL text, function text, data -> nothing; result: HRESULT
};

class Writer {
public:
    Writer& Number(std::uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8)
            bytes_.push_back(static_cast<std::uint8_t>(value >> shift));
        return *this;
    }
    Writer& Data(const void* data, std::size_t size) {
        Number(static_cast<std::uint32_t>(size));
        auto begin = static_cast<const std::uint8_t*>(data);
        bytes_.insert(bytes_.end(), begin, begin + size);
        return *this;
    }
    Writer& Text(std::u16string_view text) {
        Number(static_cast<std::uint32_t>(2 * text.size()));
        for (char16_t unit : text) {
            bytes_.push_back(static_cast<std::uint8_t>(unit));
            bytes_.push_back(static_cast<std::uint8_t>(unit >> 8));
        }
        return *this;
    }
    // The frame with its length in front, ready to be sent.
    std::vector<std::uint8_t> Frame() const {
        Writer head;
        head.Number(static_cast<std::uint32_t>(bytes_.size()));
        head.bytes_.insert(head.bytes_.end(), bytes_.begin(), bytes_.end());
        return head.bytes_;
    }

private:
    std::vector<std::uint8_t> bytes_;
};

// Reads a frame without its length. After a read past its end, Good() is false and every read
// gives 0 or nothing.
class Reader {
public:
    explicit Reader(std::vector<std::uint8_t> frame) : bytes_(std::move(frame)) {}

    std::uint32_t Number() {
        if (!Advance(4))
            return 0;
        const std::uint8_t* at = bytes_.data() + position_ - 4;
        return std::uint32_t{at[0]} | std::uint32_t{at[1]} << 8 | std::uint32_t{at[2]} << 16 |
               std::uint32_t{at[3]} << 24;
    }
    std::vector<std::uint8_t> Data() {
        const std::uint32_t size = Number();
        if (!Advance(size))
            return {};
        auto end = bytes_.begin() + static_cast<std::ptrdiff_t>(position_);
        return {end - static_cast<std::ptrdiff_t>(size), end};
    }
    std::u16string Text() {
        const std::vector<std::uint8_t> data = Data();
        std::u16string text;
        for (std::size_t at = 0; at + 1 < data.size(); at += 2)
            text.push_back(static_cast<char16_t>(data[at] | data[at + 1] << 8));
        return text;
    }
    bool Good() const { return good_; }

private:
    bool Advance(std::size_t size) {
        good_ = good_ && size <= bytes_.size() - position_;
        if (good_)
            position_ += size;
        return good_;
    }

    std::vector<std::uint8_t> bytes_;
    std::size_t position_ = 0;
    bool good_ = true;
};

} // namespace rapi_wire
