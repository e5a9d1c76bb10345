// Image files as a stranger reads them: header and checksum worked out anew.
#pragma once

#include <cstdio>
#include <numeric>
#include <string>

namespace test_support {

// What the header of an image with these 18 characters and this body must be.
inline std::string HeaderFor(const std::string& identity, const std::string& body) {
    const auto add = [](unsigned sum, char byte) { return sum + static_cast<unsigned char>(byte); };
    unsigned sum = std::accumulate(identity.begin(), identity.end(), 0U, add);
    sum = std::accumulate(body.begin(), body.end(), sum, add) & 0xFFFF;
    char digits[5];
    std::snprintf(digits, sizeof(digits), "%x", sum);
    std::string header = identity + "-" + digits;
    header.resize(32, '-');
    return header;
}

inline bool IsWholeImage(const std::string& file) {
    return file.size() >= 32 &&
           file.substr(0, 32) == HeaderFor(file.substr(0, 18), file.substr(32));
}

} // namespace test_support
