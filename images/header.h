// The 32-byte text header of an image file: MODEL-LNG-V.VV-sum-----
//
//   0  model, 9 characters     10  language code, 3      14  version, 4, such as 1.14
//  19  checksum, 1 to 4 hexadecimal digits, then '-' up to and including offset 31
//
// Offsets 9, 13 and 18 hold '-'. The checksum covers offsets 0 to 17 and everything from 32 on.
#pragma once

#include "state/state.h"

#include <cstddef>
#include <cstdint>
#include <optional>

constexpr std::uint32_t ImageHeaderSize = 32;
constexpr std::uint32_t SummedHeaderSize = 18; // the bytes of the header that the checksum covers

// Offsets of the texts in the header.
constexpr std::size_t ImageModelOffset = 0;
constexpr std::size_t ImageLanguageOffset = 10;
constexpr std::size_t ImageVersionOffset = 14;
constexpr std::size_t ImageChecksumOffset = 19;

// Reads the header of the file into `image`, but for its size. Nothing is judged: the separators
// are not looked at. False, with `image` untouched, when the file cannot be opened or is shorter
// than a header.
bool LoadImageHeader(const char* path, ImageValues* image);

// A version text such as "1.14" as a number, the same in every locale, by plain decimal conversion:
// " 1.6" is 1.6, "1e1" is 10. 0 for a text that does not start with a number. Thresholds compare
// exactly where they are 32-bit values, too.
float VersionNumber(const char* text);

// The value of a checksum text, or nothing where a character is no hexadecimal digit: a damaged
// header cannot pass.
std::optional<std::uint16_t> ParseChecksumText(const char* text);
