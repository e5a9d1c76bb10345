// Makes image files and flashes, and reads the identity in them.

#include "simulator/images.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr char IdentityMagic[8] = {'R', 'O', 'M', 'I', 'D', 0, 1, 0};
constexpr std::size_t RecordSize = 32; // magic 8, model 9, version 7, language 3, zeros
constexpr std::size_t FullVersionLength = 7;
constexpr std::size_t ShortVersionLength = 4;
constexpr std::size_t ChunkSize = 0x40000; // of the file, written at a time
constexpr std::uint64_t FlashSeed = 0x5EED;

static_assert(sizeof(IdentityMagic) + ModelLength + FullVersionLength + LanguageLength <=
              RecordSize);
static_assert(IdentityOffset % ChunkSize == 0);

Bytes IdentityRecord(const Identity& identity) {
    std::string record(IdentityMagic, sizeof(IdentityMagic));
    record += identity.model + FullVersion(identity.version) + identity.language;
    record.resize(RecordSize, '\0');
    return Bytes(record.begin(), record.end());
}

// One chunk of a ROM: filler, with the identity where it belongs.
void FillChunk(std::span<std::uint8_t> chunk, std::uint64_t seed, std::uint64_t offset,
               const Identity& identity) {
    Fill(chunk, seed, offset);
    if (offset != IdentityOffset || chunk.size() < RecordSize)
        return;
    const Bytes record = IdentityRecord(identity);
    std::copy(record.begin(), record.end(), chunk.begin());
}

// Writes a ROM of so many bytes behind `start`, and gives the 16-bit sum of its bytes.
std::uint16_t WriteRom(const Descriptor& file, const std::filesystem::path& path,
                       const Identity& identity, std::uint64_t start, std::uint64_t size,
                       std::uint64_t seed) {
    Bytes chunk(ChunkSize);
    unsigned sum = 0;
    for (std::uint64_t offset = 0; offset < size; offset += ChunkSize) {
        const auto length =
            static_cast<std::size_t>(std::min<std::uint64_t>(ChunkSize, size - offset));
        const auto part = std::span(chunk).first(length);
        FillChunk(part, seed, offset, identity);
        for (const std::uint8_t byte : part)
            sum += byte;
        WriteAt(file, start + offset, part, path);
    }
    return static_cast<std::uint16_t>(sum);
}

std::string Header(const Identity& identity, std::uint16_t payloadSum) {
    const std::string covered = identity.model + "-" + identity.language + "-" + identity.version;
    unsigned sum = payloadSum;
    for (const char character : covered)
        sum += static_cast<unsigned char>(character);
    char digits[8];
    std::snprintf(digits, sizeof(digits), "%x", sum & 0xFFFF);
    std::string header = covered + "-" + digits;
    header.resize(HeaderSize, '-');
    return header;
}

} // namespace

std::string FullVersion(const std::string& version) {
    return version.size() == ShortVersionLength ? version + ".00" : version;
}

void CheckIdentity(const Identity& identity) {
    if (identity.model.size() != ModelLength)
        throw Failure("model " + identity.model + ": not 9 characters");
    if (identity.language.size() != LanguageLength)
        throw Failure("language " + identity.language + ": not 3 characters");
    if (FullVersion(identity.version).size() != FullVersionLength)
        throw Failure("version " + identity.version + ": neither 4 nor 7 characters");
}

std::optional<Identity> ReadIdentity(const std::filesystem::path& path, std::uint64_t offset) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    char record[RecordSize];
    if (!file || pread(file.Number(), record, sizeof(record), static_cast<off_t>(offset)) !=
                     static_cast<ssize_t>(sizeof(record)))
        return std::nullopt;
    if (std::memcmp(record, IdentityMagic, sizeof(IdentityMagic)) != 0)
        return std::nullopt;
    const char* at = record + sizeof(IdentityMagic);
    Identity identity;
    identity.model.assign(at, ModelLength);
    identity.version.assign(at + ModelLength, FullVersionLength);
    identity.language.assign(at + ModelLength + FullVersionLength, LanguageLength);
    return identity;
}

// splitmix64, a public-domain generator whose state is a counter: it can start at any offset.
void Fill(std::span<std::uint8_t> bytes, std::uint64_t seed, std::uint64_t offset) {
    std::uint64_t counter = (seed << 40) + offset / 8;
    for (std::size_t at = 0; at < bytes.size(); at += 8) {
        std::uint64_t mixed = ++counter * 0x9E3779B97F4A7C15;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
        mixed ^= mixed >> 31;
        std::memcpy(bytes.data() + at, &mixed, std::min<std::size_t>(8, bytes.size() - at));
    }
}

void MakeFlash(const std::filesystem::path& path, const Identity& identity, std::uint64_t size) {
    CheckIdentity(identity);
    const Descriptor file = OpenHost(path, O_WRONLY | O_CREAT | O_TRUNC);
    WriteRom(file, path, identity, 0, size, FlashSeed);
}

void MakeImage(const std::filesystem::path& path, const Identity& identity, std::uint64_t size,
               std::uint64_t seed) {
    CheckIdentity(identity);
    if (identity.version.size() != ShortVersionLength)
        throw Failure("version " + identity.version + ": an image has 4 characters");
    if (size < HeaderSize)
        throw Failure("make " + path.string() + ": an image has at least 32 bytes");
    const Descriptor file = OpenHost(path, O_WRONLY | O_CREAT | O_TRUNC);
    const std::uint16_t sum = WriteRom(file, path, identity, HeaderSize, size - HeaderSize, seed);
    const std::string header = Header(identity, sum);
    WriteAt(file, 0, std::span(reinterpret_cast<const std::uint8_t*>(header.data()), HeaderSize),
            path);
}

} // namespace simulator
