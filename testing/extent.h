// How much a randomised test does: little in CI, more by hand.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace test_support {

struct Extent {
    std::size_t count;
    std::uint64_t first; // seed
};

// The environment variable's "COUNT,SEED", or what is usual. Throws where it is neither.
inline Extent WantedExtent(const char* variable, const Extent& usual) {
    const char* setting = std::getenv(variable);
    if (!setting)
        return usual;
    char* end = nullptr;
    Extent extent = {std::strtoul(setting, &end, 10), usual.first};
    if (*end == ',')
        extent.first = std::strtoull(end + 1, &end, 10);
    if (*end != '\0' || extent.count == 0)
        throw std::runtime_error(std::string(variable) + " is not COUNT,SEED");
    return extent;
}

} // namespace test_support
