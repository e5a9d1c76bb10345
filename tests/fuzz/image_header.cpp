// The header of an image file and its checksum: the texts are those of the file, the sum is that of
// plain addition, and an image that is written with them verifies and reads the same.

#include "images/checksum.h"
#include "images/header.h"
#include "images/image_writer.h"
#include "testing/test_home.h"
#include "tests/fuzz/target.h"

#include <cstring>

using fuzz::Require;

namespace {

struct Read {
    ImageValues image = {};
    std::optional<std::uint16_t> sum;
    bool loaded;

    explicit Read(const std::string& path)
        : sum(SumImage(OpenForReading(path.c_str()).Get())),
          loaded(LoadImageHeader(path.c_str(), &image)) {}
};

// A text of the file ends with its field or at a zero before that.
template <std::size_t Size>
void RequireText(const char (&text)[Size], std::string_view field) {
    const std::string_view whole = field.substr(0, Size - 1);
    Require(text == whole.substr(0, whole.find('\0')));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto home = test_support::HomeOfTests().Path("image.nbf");
    static const std::string path = test_support::WindowsPathOf(home);
    const std::string file(data, data + size);
    test_support::WriteFileBytes(home, file);
    const Read read(path);
    Require(read.loaded == (size >= ImageHeaderSize) && read.sum.has_value() == read.loaded);
    if (!read.loaded)
        return 0;
    std::uint16_t sum = 0;
    for (std::size_t at = 0; at < size; ++at)
        sum = static_cast<std::uint16_t>(sum + (at < 18 || at >= 32 ? data[at] : 0));
    Require(read.sum == sum);
    RequireText(read.image.ImageModel, file);
    RequireText(read.image.ImageLanguage, file.substr(10));
    RequireText(read.image.ImageVersionText, file.substr(14));
    ParseChecksumText(read.image.ImageChecksumText);

    ImageWriter writer;
    const std::span body(data + ImageHeaderSize, size - ImageHeaderSize);
    Require(writer.Create(path.c_str()) && writer.Append(body, body.size()) &&
            writer.Finish(
                {read.image.ImageModel, read.image.ImageLanguage, read.image.ImageVersionText}));
    const Read written(path);
    Require(written.loaded && ParseChecksumText(written.image.ImageChecksumText) == written.sum);
    Require(std::string_view(written.image.ImageModel).starts_with(read.image.ImageModel));
    Require(VersionNumber(written.image.ImageVersionText) == written.image.ImageVersion);
    return 0;
}
