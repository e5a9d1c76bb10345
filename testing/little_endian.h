// Numbers as they travel and as the handheld keeps them: least significant byte first.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace test_support {

// The 32-bit numbers, one behind the other.
inline std::vector<std::uint8_t> LittleEndian(std::initializer_list<std::uint32_t> numbers) {
    std::vector<std::uint8_t> bytes;
    for (const std::uint32_t number : numbers) {
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<std::uint8_t>(number >> shift));
    }
    return bytes;
}

} // namespace test_support
