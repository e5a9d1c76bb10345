// Image files as a stranger reads them: header and checksum worked out anew, and what of them
// travels.
#pragma once

#include "testing/little_endian.h"

#include <cstdio>
#include <numeric>
#include <string>
#include <string_view>

namespace test_support {

// What the header of an image with these 18 characters and this body must be.
inline std::string HeaderFor(const std::string& identity, std::string_view body) {
    const auto add = [](unsigned sum, char byte) { return sum + static_cast<unsigned char>(byte); };
    unsigned sum = std::accumulate(identity.begin(), identity.end(), 0U, add);
    sum = std::accumulate(body.begin(), body.end(), sum, add) & 0xFFFF;
    char digits[5];
    std::snprintf(digits, sizeof(digits), "%x", sum);
    std::string header = identity + "-" + digits;
    header.resize(32, '-');
    return header;
}

inline bool IsWholeImage(const std::string& file) {
    return file.size() >= 32 &&
           file.substr(0, 32) == HeaderFor(file.substr(0, 18), std::string_view(file).substr(32));
}

inline std::string NumbersOnTheWire(std::initializer_list<std::uint32_t> numbers) {
    const auto bytes = LittleEndian(numbers);
    return {bytes.begin(), bytes.end()};
}

// All that the flasher must hear for an image: start byte, size, the rest, the held-back block.
inline std::string FlasherWire(const std::string& image) {
    return "A" + NumbersOnTheWire({static_cast<std::uint32_t>(image.size()) - 0x40020}) +
           image.substr(0x80020) + image.substr(0x40020, 0x40000);
}

// All that the bootloader must hear: blocks in file order up to one past the end.
inline std::string BootloaderWire(const std::string& image) {
    constexpr std::uint32_t Block = 0x40000;
    const std::string blocks = image.substr(0x20) + std::string(std::size_t{2} * Block, '\xFF');
    std::string wire = "l\rB000FF\n" + NumbersOnTheWire({Block, 0xF40000});
    for (std::uint32_t offset = Block; offset < image.size(); offset += Block)
        wire += NumbersOnTheWire({offset, Block, 0}) + blocks.substr(offset, Block);
    return wire;
}

} // namespace test_support
