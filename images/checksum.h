// The checksum of image files: all covered bytes added up as unsigned values, modulo 65536.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <span>

// The sum of these bytes. Sums of parts are added up in any order.
std::uint16_t ByteSum(std::span<const std::uint8_t> bytes);

// The sum of all covered bytes of an image file, read from its start, where the open file is
// positioned, to its end. Nothing when it cannot be read to its end or is shorter than a header: it
// must not pass by what came before.
std::optional<std::uint16_t> SumImage(HANDLE file);
