// Small files of the host, and names without case.

#include "simulator/host_files.h"

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <cwctype>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <unistd.h>

namespace simulator {

void FailOn(const std::string& action, const std::filesystem::path& what) {
    throw Failure(action + " " + what.string() + ": " + std::strerror(errno));
}

std::optional<std::string> ReadWhole(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return std::nullopt;
    std::string content{std::istreambuf_iterator<char>(file), {}};
    if (file.bad())
        return std::nullopt;
    return content;
}

std::optional<Bytes> ReadBytes(const std::filesystem::path& path) {
    const auto content = ReadWhole(path);
    if (!content)
        return std::nullopt;
    return Bytes(content->begin(), content->end());
}

void WriteWhole(const std::filesystem::path& path, std::span<const std::uint8_t> content) {
    std::filesystem::path fresh = path;
    fresh += ".new";
    WriteAt(OpenHost(fresh, O_WRONLY | O_CREAT | O_TRUNC), 0, content, fresh);
    if (std::rename(fresh.c_str(), path.c_str()) != 0)
        FailOn("replace", path);
}

void WriteWhole(const std::filesystem::path& path, std::string_view content) {
    WriteWhole(path,
               std::span(reinterpret_cast<const std::uint8_t*>(content.data()), content.size()));
}

Descriptor OpenHost(const std::filesystem::path& path, int flags, unsigned mode) {
    const int descriptor = open(path.c_str(), flags | O_CLOEXEC, mode);
    if (descriptor < 0)
        FailOn("open", path);
    return Descriptor(descriptor);
}

void WriteAt(const Descriptor& file, std::uint64_t offset, std::span<const std::uint8_t> bytes,
             const std::filesystem::path& path) {
    while (!bytes.empty()) {
        const ssize_t count =
            pwrite(file.Number(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            FailOn("write", path);
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        offset += static_cast<std::uint64_t>(count);
    }
}

std::string Hex(std::uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof(text), "0x%X", value);
    return text;
}

std::u16string Fold(std::u16string_view text) {
    static const locale_t characters = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    std::u16string folded(text);
    for (char16_t& unit : folded) {
        const std::wint_t lower = characters ? towlower_l(unit, characters) : std::towlower(unit);
        if (lower <= 0xFFFF)
            unit = static_cast<char16_t>(lower);
    }
    return folded;
}

} // namespace simulator
