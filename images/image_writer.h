// Writing an image file: a gap for the header, the body piece by piece, and the header last.
#pragma once

#include "state/handles.h"

#include <cstddef>
#include <cstdint>
#include <span>

// What a header says of the ROM: 9, 3 and 4 characters. A longer text is cut, a shorter one is
// filled up with '-', so that the header stays one.
struct ImageIdentity {
    const char* model;
    const char* language;
    const char* version;
};

// A file in the making. As long as Finish has not written the header the file has none and fails
// every verification, whenever its writer dies; what has been written stays when it is given up.
// One thread.
class ImageWriter {
public:
    ImageWriter() = default;
    ImageWriter(const ImageWriter&) = delete;
    ImageWriter& operator=(const ImageWriter&) = delete;

    // Creates the file; one of that name is replaced. False when it cannot be opened; one that
    // exists is then untouched.
    bool Create(const char* path);

    // The next bytes of the body. Only the first `received` count for the checksum: with fewer than
    // the piece has the file will not verify. False when the disk does not take them all.
    bool Append(std::span<const std::uint8_t> piece, std::size_t received);

    // Writes the header and closes the file; true once everything is on the disk. After a failure
    // the file does not verify.
    bool Finish(const ImageIdentity& identity);

private:
    bool Write(std::span<const std::uint8_t> bytes) const;
    bool WriteHeader(std::span<const std::uint8_t> header) const;
    std::uint16_t Checksum(std::uint16_t headerSum) const;

    OwnedFile file_;
    std::uint16_t sum_ = 0;     // of the bytes received
    std::uint16_t fillSum_ = 0; // of the filler of missing ones
    bool incomplete_ = false;
};
