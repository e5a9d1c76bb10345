// Image files and the identity that a ROM carries.
//
// An image file is a 32-byte header and the payload, which is the flash from its first byte on:
// offset n of the payload belongs at offset n of the flash. The header is text, "-" between its
// fields: model (9 characters), language (3), version (4), and the checksum in lower-case
// hexadecimal, filled up with "-". The checksum is the 16-bit sum of offsets 0 to 17 and of the
// payload.
//
// A simulated ROM holds its identity at the start of the held-back block; a handheld reads it
// there.
#pragma once

#include "simulator/host_files.h"
#include "simulator/wire.h"

namespace simulator {

constexpr std::uint32_t HeaderSize = 32;
constexpr std::uint32_t IdentityOffset = HeldBackOffset; // in the payload and in the flash
constexpr std::size_t ModelLength = 9;
constexpr std::size_t LanguageLength = 3;

struct Identity {
    std::string model;    // 9 characters
    std::string version;  // "1.14", or in full "1.14.00"
    std::string language; // "ENG"
};

// The version in its full form of 7 characters, as the asset file has it: "1.14.00".
std::string FullVersion(const std::string& version);

// Throws a Failure for a model, a language or a version of the wrong length.
void CheckIdentity(const Identity& identity);

// The identity in the record at the offset of a file; nothing where there is none.
std::optional<Identity> ReadIdentity(const std::filesystem::path& file, std::uint64_t offset);

// Bytes that look random and are the same for the same seed and offset, a multiple of 8.
void Fill(std::span<std::uint8_t> bytes, std::uint64_t seed, std::uint64_t offset);

// A flash of so many bytes with filler and identity.
void MakeFlash(const std::filesystem::path& file, const Identity& identity, std::uint64_t size);

// An image file of so many bytes, header included: at least HeaderSize. The version has 4
// characters. Throws a Failure.
void MakeImage(const std::filesystem::path& file, const Identity& identity, std::uint64_t size,
               std::uint64_t seed);

} // namespace simulator
