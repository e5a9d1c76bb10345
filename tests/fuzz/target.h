// What fuzz targets share: the entry that the fuzzer calls, and how an input is taken apart.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

// One input, which leaves nothing behind for the next. Whatever is wrong ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

using Bytes = std::span<const std::uint8_t>;

inline void Require(bool holds, int line = __builtin_LINE()) {
    if (!holds) {
        std::fprintf(stderr, "line %d: this does not hold\n", line);
        std::abort();
    }
}

// What is left of an input. Past its end come zeros, and texts end.
struct Input {
    Bytes left;

    Bytes Take(std::size_t count) {
        const Bytes bytes = left.first(std::min(count, left.size()));
        left = left.subspan(bytes.size());
        return bytes;
    }
    std::uint8_t Byte() { return left.empty() ? 0 : Take(1)[0]; }
    std::string Line() {
        const auto end = std::ranges::find(left, std::uint8_t{'\n'}) - left.begin();
        const Bytes bytes = Take(static_cast<std::size_t>(end));
        Byte();
        return {bytes.begin(), bytes.end()};
    }
};

} // namespace fuzz
