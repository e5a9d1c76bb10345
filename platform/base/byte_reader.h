// Reading little-endian numbers from a block of bytes that may be cut off anywhere. Past the end
// every read gives 0 and the reader stays failed, so that a parser checks once, at its end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace platform {

class ByteReader {
public:
    explicit ByteReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    bool Failed() const { return failed_; }
    std::size_t Position() const { return position_; }
    std::size_t Left() const { return bytes_.size() - position_; }

    void Skip(std::size_t count) {
        if (count > Left()) {
            failed_ = true;
            count = Left();
        }
        position_ += count;
    }

    void AlignTo4() {
        std::size_t gap = (4 - position_ % 4) % 4;
        Skip(gap < Left() ? gap : Left());
    }

    std::uint16_t Word() { return static_cast<std::uint16_t>(Number(2)); }
    std::uint32_t Long() { return Number(4); }
    std::int16_t SignedWord() { return static_cast<std::int16_t>(Word()); }

    // UTF-16 up to and without its terminator.
    std::u16string Text() {
        std::u16string text;
        while (char16_t character = Word())
            text.push_back(character);
        return text;
    }

private:
    std::uint32_t Number(unsigned size) {
        if (failed_ || size > Left()) {
            failed_ = true;
            return 0;
        }
        std::uint32_t value = 0;
        for (unsigned i = 0; i < size; ++i)
            value |= static_cast<std::uint32_t>(bytes_[position_ + i]) << (8 * i);
        position_ += size;
        return value;
    }

    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
    bool failed_ = false;
};

} // namespace platform
