// What fuzz targets share: the entry that the fuzzer calls, and how an input is taken apart.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

// One input, which leaves nothing behind for the next. Whatever is wrong ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

inline void Require(bool holds, int line = __builtin_LINE()) {
    if (holds)
        return;
    std::fprintf(stderr, "line %d: this does not hold\n", line);
    std::abort();
}

// An input from front to back. Past its end it gives zeros.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : left_(data, size) {}

    bool IsOver() const { return left_.empty(); }
    std::uint8_t Byte() {
        const auto byte = Bytes(1);
        return byte.empty() ? 0 : byte[0];
    }
    // So many, or what is left.
    std::span<const std::uint8_t> Bytes(std::size_t count) {
        const auto bytes = left_.first(std::min(count, left_.size()));
        left_ = left_.subspan(bytes.size());
        return bytes;
    }
    // Up to and without the separator, which goes too.
    std::string Text(char separator = '\n') {
        const auto end = std::ranges::find(left_, static_cast<std::uint8_t>(separator));
        const auto bytes = Bytes(static_cast<std::size_t>(end - left_.begin()));
        Byte();
        return {bytes.begin(), bytes.end()};
    }

private:
    std::span<const std::uint8_t> left_;
};

} // namespace fuzz
