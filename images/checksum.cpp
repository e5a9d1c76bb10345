// Adding up an image file. The sum runs over up to 32 MiB while a page asks the user to wait, so it
// must not be slower than the disk. Additions that wrap in 16 bits, in runs of a fixed length, are
// what compilers turn into vector instructions also where they do so sparingly.

#include "images/checksum.h"

#include "images/header.h"

#include <cstddef>
#include <memory>
#include <new>

namespace {

constexpr DWORD BlockSize = 0x40000; // bytes; the only part of the file that is in memory
constexpr std::size_t RunLength = 4096;

std::uint16_t SumRun(const std::uint8_t* bytes) {
    std::uint16_t sum = 0;
    for (std::size_t i = 0; i < RunLength; ++i)
        sum = static_cast<std::uint16_t>(sum + bytes[i]);
    return sum;
}

} // namespace

std::uint16_t ByteSum(std::span<const std::uint8_t> bytes) {
    std::uint16_t sum = 0;
    for (; bytes.size() >= RunLength; bytes = bytes.subspan(RunLength))
        sum = static_cast<std::uint16_t>(sum + SumRun(bytes.data()));
    for (const std::uint8_t last : bytes)
        sum = static_cast<std::uint16_t>(sum + last);
    return sum;
}

std::optional<std::uint16_t> SumImage(HANDLE file) {
    const std::unique_ptr<std::uint8_t[]> block(new (std::nothrow) std::uint8_t[BlockSize]);
    DWORD count = 0;
    if (!block || !ReadFile(file, block.get(), ImageHeaderSize, &count, nullptr) ||
        count != ImageHeaderSize)
        return std::nullopt;
    std::uint16_t sum = ByteSum({block.get(), SummedHeaderSize});
    do {
        if (!ReadFile(file, block.get(), BlockSize, &count, nullptr))
            return std::nullopt;
        sum = static_cast<std::uint16_t>(sum + ByteSum({block.get(), count}));
    } while (count != 0);
    return sum;
}
