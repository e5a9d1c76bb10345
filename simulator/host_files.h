// Small files of the host: read whole, replaced whole, and the one kind of error that ends a
// command.
//
// A handheld is killed at any instant by the tests that matter most, so nothing here leaves half a
// file: a new content is written beside the old one and takes its name.
#pragma once

#include "platform/base/descriptor.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

using platform::Descriptor;
using Bytes = std::vector<std::uint8_t>;

// One line for the user: what was tried, on what, the system's error.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Throws a Failure with the text of errno: "open ports/COM1: Permission denied".
[[noreturn]] void FailOn(const std::string& action, const std::filesystem::path& what);

// The whole file, or nothing where it cannot be read.
std::optional<std::string> ReadWhole(const std::filesystem::path& path);
std::optional<Bytes> ReadBytes(const std::filesystem::path& path);

// Replaces the file; a reader finds the old content or the new one. Throws a Failure.
void WriteWhole(const std::filesystem::path& path, std::string_view content);
void WriteWhole(const std::filesystem::path& path, std::span<const std::uint8_t> content);

// Opens with close-on-exec; throws a Failure. `mode` counts for a file that is made.
Descriptor OpenHost(const std::filesystem::path& path, int flags, unsigned mode = 0644);

// All bytes at the offset; throws a Failure that names the path.
void WriteAt(const Descriptor& file, std::uint64_t offset, std::span<const std::uint8_t> bytes,
             const std::filesystem::path& path);

std::string Hex(std::uint32_t value); // "0xF40000"

// The path without case of a text in UTF-16: one unit to one unit, by the character tables of the
// host's C.UTF-8. The handheld keeps case, which does not count in comparisons.
std::u16string Fold(std::u16string_view text);
inline bool SameName(std::u16string_view one, std::u16string_view other) {
    return Fold(one) == Fold(other);
}

} // namespace simulator
