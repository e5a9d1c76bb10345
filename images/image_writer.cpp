// Writing an image file in an order that keeps a broken backup from being restored: the header,
// which vouches for the body, goes to the disk when the body is there.

#include "images/image_writer.h"

#include "images/checksum.h"
#include "images/header.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace {

using Header = std::array<char, ImageHeaderSize>;

void PutText(Header& header, std::size_t offset, std::size_t length, const char* text) {
    std::copy_n(text, std::min(length, std::strlen(text)), header.begin() + offset);
}

// Everything but the checksum.
Header ComposeHeader(const ImageIdentity& identity) {
    constexpr std::size_t Separator = 1;
    Header header;
    header.fill('-');
    PutText(header, ImageModelOffset, ImageLanguageOffset - ImageModelOffset - Separator,
            identity.model);
    PutText(header, ImageLanguageOffset, ImageVersionOffset - ImageLanguageOffset - Separator,
            identity.language);
    PutText(header, ImageVersionOffset, ImageChecksumOffset - ImageVersionOffset - Separator,
            identity.version);
    return header;
}

std::span<const std::uint8_t> BytesOf(const Header& header) {
    return {reinterpret_cast<const std::uint8_t*>(header.data()), header.size()};
}

bool Seek(HANDLE file, LONG offset) {
    return _llseek(static_cast<HFILE>(reinterpret_cast<INT_PTR>(file)), offset, FILE_BEGIN) ==
           offset;
}

} // namespace

bool ImageWriter::Create(const char* path) {
    file_ = OwnedFile(CreateFileA(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    return file_ && Seek(file_.Get(), ImageHeaderSize);
}

bool ImageWriter::Append(std::span<const std::uint8_t> piece, std::size_t received) {
    const std::size_t whole = std::min(received, piece.size());
    sum_ = static_cast<std::uint16_t>(sum_ + ByteSum(piece.first(whole)));
    fillSum_ = static_cast<std::uint16_t>(fillSum_ + ByteSum(piece.subspan(whole)));
    incomplete_ = incomplete_ || whole < piece.size();
    return Write(piece);
}

bool ImageWriter::Finish(const ImageIdentity& identity) {
    if (!FlushFileBuffers(file_.Get()))
        return false;
    Header header = ComposeHeader(identity);
    const std::uint16_t sum = Checksum(ByteSum(BytesOf(header).first(SummedHeaderSize)));
    std::to_chars(header.data() + ImageChecksumOffset, header.data() + header.size(), sum, 16);
    if (!WriteHeader(BytesOf(header))) {
        WriteHeader(BytesOf(Header{})); // it must not vouch for what may not be there
        return false;
    }
    return file_.Close();
}

bool ImageWriter::Write(std::span<const std::uint8_t> bytes) const {
    DWORD done = 0;
    const auto size = static_cast<DWORD>(bytes.size());
    const bool accepted = WriteFile(file_.Get(), bytes.data(), size, &done, nullptr);
    return accepted && done == size; // GCOVR_EXCL_BR_LINE: platform/ never takes less
}

bool ImageWriter::WriteHeader(std::span<const std::uint8_t> header) const {
    return Seek(file_.Get(), 0) && Write(header) && FlushFileBuffers(file_.Get());
}

// The filler of missing bytes can add up to nothing, as a block of one value does: the sum of
// what was received would then be right for a broken ROM. So it is made wrong.
std::uint16_t ImageWriter::Checksum(std::uint16_t headerSum) const {
    const bool looksWhole = incomplete_ && fillSum_ == 0;
    return static_cast<std::uint16_t>(sum_ + headerSum + (looksWhole ? 1 : 0));
}
