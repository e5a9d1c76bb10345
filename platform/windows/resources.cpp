// Resources in the published .res format: entries of a header and data, each aligned to 4 bytes.
//
// The bytes come from a compiler and from the test's own files, so every length is checked against
// what is left: a cut-off file has fewer resources, it does not crash the program.

#include "platform/windows/resources.h"

#include "platform/base/byte_reader.h"
#include "platform/base/text.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

// Absent in programs without a resource script.
extern "C" {
extern const std::uint8_t embedded_resources_begin[] __attribute__((weak));
extern const std::uint8_t embedded_resources_end[] __attribute__((weak));
}

namespace platform {

namespace {

constexpr std::size_t StringsInBlock = 16;

std::span<const std::uint8_t> EmbeddedResources() {
    if (!embedded_resources_begin)
        return {};
    return {embedded_resources_begin, embedded_resources_end};
}

std::span<const std::uint8_t>& ResourceBytes() {
    static std::span<const std::uint8_t> bytes = EmbeddedResources();
    return bytes;
}

// A type or name: 0xFFFF and a number, or a text, for which this gives none.
std::optional<std::uint16_t> ReadNumericName(ByteReader& reader) {
    std::uint16_t first = reader.Word();
    if (first == 0xFFFF)
        return reader.Word();
    if (first)
        reader.Text();
    return std::nullopt;
}

struct Entry {
    std::optional<std::uint16_t> type, name;
    std::span<const std::uint8_t> data;
    std::size_t end; // where the next entry starts
};

std::optional<Entry> ReadEntry(std::span<const std::uint8_t> file, std::size_t start) {
    if (start >= file.size())
        return std::nullopt;
    ByteReader reader(file.subspan(start));
    std::size_t dataSize = reader.Long();
    std::size_t headerSize = reader.Long();
    Entry entry = {};
    entry.type = ReadNumericName(reader);
    entry.name = ReadNumericName(reader);
    std::size_t left = file.size() - start;
    if (reader.Failed() || headerSize < reader.Position() || headerSize > left ||
        dataSize > left - headerSize)
        return std::nullopt;
    entry.data = file.subspan(start + headerSize, dataSize);
    entry.end = start + headerSize + (dataSize + 3) / 4 * 4;
    return entry;
}

template <class Wanted>
std::optional<std::span<const std::uint8_t>> FindEntry(Wanted wanted) {
    std::span<const std::uint8_t> file = ResourceBytes();
    std::size_t position = 0;
    while (auto entry = ReadEntry(file, position)) {
        if (wanted(*entry))
            return entry->data;
        position = entry->end;
    }
    return std::nullopt;
}

// The text of a string table entry: a block holds 16, each with its length before it.
std::u16string StringInBlock(std::span<const std::uint8_t> block, std::size_t index) {
    ByteReader reader(block);
    for (std::size_t i = 0; i < index; ++i)
        reader.Skip(std::size_t{reader.Word()} * 2);
    std::u16string text(reader.Word(), u'\0');
    for (char16_t& character : text)
        character = reader.Word();
    return reader.Failed() ? std::u16string() : text;
}

std::string LoadText(UINT id) {
    auto block =
        FindResourceData(StringResource, static_cast<std::uint16_t>(id / StringsInBlock + 1));
    if (!block)
        return {};
    return AnsiFromUtf16(StringInBlock(*block, id % StringsInBlock));
}

} // namespace

void UseResources(const void* begin, const void* end) {
    ResourceBytes() = {static_cast<const std::uint8_t*>(begin),
                       static_cast<const std::uint8_t*>(end)};
}

std::optional<std::span<const std::uint8_t>> FindResourceData(std::uint16_t type,
                                                              std::uint16_t id) {
    return FindEntry([=](const Entry& entry) { return entry.type == type && entry.name == id; });
}

std::optional<std::span<const std::uint8_t>> FirstResourceData(std::uint16_t type) {
    return FindEntry([=](const Entry& entry) { return entry.type == type; });
}

std::optional<std::span<const std::uint8_t>> FindNamedResource(std::uint16_t type, LPCSTR name) {
    std::optional<std::span<const std::uint8_t>> data;
    if (IS_INTRESOURCE(name))
        data = FindResourceData(type,
                                static_cast<std::uint16_t>(reinterpret_cast<std::uintptr_t>(name)));
    if (!data)
        SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return data;
}

} // namespace platform

int WINAPI LoadStringA(HINSTANCE, UINT id, LPSTR buffer, int capacity) {
    if (!buffer || capacity <= 0)
        return 0;
    std::string text = platform::LoadText(id);
    std::size_t length = std::min(text.size(), static_cast<std::size_t>(capacity) - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    if (text.empty())
        SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return static_cast<int>(length);
}
