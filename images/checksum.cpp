// The sum runs over up to 32 MiB while a page asks the user to wait, so it must not be slower than
// the disk. Additions that wrap in 16 bits, in runs of a fixed length, are what compilers turn into
// vector instructions also where they do so sparingly.

#include "images/checksum.h"

#include <cstddef>

namespace {

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
    for (const std::uint8_t byte : bytes)
        sum = static_cast<std::uint16_t>(sum + byte);
    return sum;
}
