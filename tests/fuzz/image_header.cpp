// The header of an image file and its checksum: the texts are those of the file, numbers are what a
// library reads, the sum is that of plain addition, and an image written with them is whole.

#include "images/checksum.h"
#include "images/header.h"
#include "images/image_writer.h"
#include "testing/image_file.h"
#include "testing/test_home.h"
#include "tests/fuzz/target.h"

#include <cctype>
#include <limits>

using fuzz::Require;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto host = test_support::HomeOfTests().Path("image.nbf");
    static const std::string path = test_support::WindowsPathOf(host);
    std::string file(data, data + size);
    test_support::WriteFileBytes(host, file);
    ImageValues image = {};
    const bool loaded = LoadImageHeader(path.c_str(), &image);
    const auto sum = SumImage(OpenForReading(path.c_str()).Get());
    Require(loaded == (size >= 32) && sum.has_value() == loaded &&
            (loaded || !image.ImageModel[0]));
    if (!loaded)
        return 0;
    // A text ends with its field or at a zero before that.
    const auto field = [&](std::size_t at, std::size_t length) {
        return std::string(file.substr(at, length).c_str());
    };
    std::string digits = field(19, 4);
    digits = digits.substr(0, digits.find('-', 1));
    const std::string version = field(14, 4);
    Require(image.ImageModel == field(0, 9) && image.ImageLanguage == field(10, 3) &&
            image.ImageVersionText == version && image.ImageChecksumText == digits);
    // Which takes more for numbers than decimals.
    const std::string decimal = version.substr(0, version.find_first_of("xXnNiI"));
    Require(image.ImageVersion ==
            std::min(std::strtof(decimal.c_str(), nullptr), std::numeric_limits<float>::max()));
    const bool isHex = !digits.empty() && std::ranges::all_of(digits, [](unsigned char digit) {
        return std::isxdigit(digit);
    });
    const auto wanted = static_cast<std::uint16_t>(std::strtoul(digits.c_str(), nullptr, 16));
    Require(ParseChecksumText(digits.c_str()) == (isHex ? std::optional(wanted) : std::nullopt));

    ImageWriter writer;
    const std::span body(data + 32, size - 32);
    Require(writer.Create(path.c_str()) && writer.Append(body, body.size()) &&
            writer.Finish({image.ImageModel, image.ImageLanguage, image.ImageVersionText}));
    const std::string written = test_support::ReadBytes(host);
    Require(test_support::IsWholeImage(written) && written.substr(32) == file.substr(32));
    unsigned added = 0;
    for (std::size_t at = 0; at < size; ++at)
        added += at < 18 || at >= 32 ? data[at] : 0;
    Require(*sum == (added & 0xFFFF));
    return 0;
}
