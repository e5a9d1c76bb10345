// The checksum of image files: all covered bytes added up as unsigned values, modulo 65536.
#pragma once

#include <cstdint>
#include <span>

// The sum of these bytes. Sums of parts are added up in any order.
std::uint16_t ByteSum(std::span<const std::uint8_t> bytes);
