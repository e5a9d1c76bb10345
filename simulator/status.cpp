// The state of a handheld for people, and its flash against an image.

#include "simulator/status.h"

#include "simulator/device_registry.h"
#include "simulator/images.h"
#include "simulator/wire.h"

#include "platform/base/text.h"

#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <set>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr std::size_t ChunkSize = 0x40000; // of a file, read at a time
constexpr std::uint32_t RegistryText = 1;
constexpr std::uint32_t RegistryNumber = 4;

struct Region {
    const char* name;
    std::uint64_t begin, end;
};

std::vector<Region> Regions(std::uint64_t end) {
    return {{"bootloader", 0, BootloaderSize},
            {"held-back block", HeldBackOffset, RestOffset},
            {"rest", RestOffset, end}};
}

// A chunk from the offset on, or what there is before `end`; throws a Failure where the file ends
// before.
Bytes ReadChunk(const Descriptor& file, const std::filesystem::path& path, std::uint64_t offset,
                std::uint64_t end) {
    Bytes chunk(static_cast<std::size_t>(std::min<std::uint64_t>(ChunkSize, end - offset)));
    const ssize_t count =
        pread(file.Number(), chunk.data(), chunk.size(), static_cast<off_t>(offset));
    if (count < 0)
        FailOn("read", path);
    if (count != static_cast<ssize_t>(chunk.size()))
        throw Failure("read " + path.string() + ": it ends before " +
                      Hex(static_cast<std::uint32_t>(end)));
    return chunk;
}

std::uint32_t Checksum(const Descriptor& file, const std::filesystem::path& path,
                       const Region& region) {
    uLong sum = crc32(0, nullptr, 0);
    for (std::uint64_t offset = region.begin; offset < region.end; offset += ChunkSize) {
        const Bytes chunk = ReadChunk(file, path, offset, region.end);
        sum = crc32(sum, chunk.data(), static_cast<uInt>(chunk.size()));
    }
    return static_cast<std::uint32_t>(sum);
}

void PrintFlash(const StateFolder& folder) {
    const Descriptor flash = OpenHost(folder.Flash(), O_RDONLY);
    std::printf("flash: %u MB\n", static_cast<unsigned>(folder.FlashSize() >> 20));
    for (const Region& region : Regions(folder.FlashSize()))
        std::printf("  crc32 0x%06X-0x%06X %08x %s\n", static_cast<unsigned>(region.begin),
                    static_cast<unsigned>(region.end - 1), Checksum(flash, folder.Flash(), region),
                    region.name);
}

void PrintTransfer(const SavedState& state) {
    const Transfer& transfer = state.transfer;
    if (transfer.size == 0)
        return;
    std::printf("transfer: size %s, %u of %u pieces", Hex(transfer.size).c_str(), transfer.pieces,
                transfer.PieceCount());
    if (transfer.blockEnd != 0)
        std::printf(", blocks up to %s", Hex(transfer.blockEnd).c_str());
    std::printf("%s\n", transfer.Complete() ? ", complete" : "");
}

std::string Describe(const RegistryValue& value) {
    const Bytes& data = value.data;
    if (value.type == RegistryNumber && data.size() == 4)
        return Hex(std::uint32_t{data[0]} | std::uint32_t{data[1]} << 8 |
                   std::uint32_t{data[2]} << 16 | std::uint32_t{data[3]} << 24);
    if (value.type == RegistryText && data.size() % 2 == 0) {
        std::u16string text;
        for (std::size_t at = 0; at < data.size(); at += 2)
            text += static_cast<char16_t>(data[at] | data[at + 1] << 8);
        const bool terminated = text.ends_with(u'\0');
        if (terminated)
            text.pop_back();
        return "\"" + platform::Utf8FromUtf16(text) + "\"" +
               (terminated ? "" : " without terminator");
    }
    std::string bytes;
    for (const std::uint8_t byte : data)
        bytes += Hex(byte) + " ";
    return bytes;
}

void PrintRegistry(const DeviceRegistry& registry) {
    std::printf("registry:\n");
    for (const auto& [foldedKey, key] : registry.Keys()) {
        std::printf("  \\%s\n", platform::Utf8FromUtf16(key.path).c_str());
        for (const auto& [foldedName, value] : key.values)
            std::printf("    %s: type %u, size %zu: %s\n",
                        platform::Utf8FromUtf16(value.name).c_str(), value.type, value.data.size(),
                        Describe(value).c_str());
    }
}

// The shortcuts of the file system, each with what it starts.
void PrintMenus(const StateFolder& folder) {
    std::printf("menus:\n");
    const std::filesystem::path root = folder.Path("files");
    std::set<std::filesystem::path> links;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (entry.path().extension() == ".lnk")
            links.insert(entry.path());
    }
    for (const std::filesystem::path& link : links) {
        std::string name = "\\" + link.lexically_relative(root).string();
        std::ranges::replace(name, '/', '\\');
        std::printf("  %s: %s\n", name.c_str(), ReadWhole(link).value_or("").c_str());
    }
}

// The five buttons, as the shell's keys of the registry have them.
void PrintButtons(const DeviceRegistry& registry) {
    std::printf("buttons:\n");
    for (char16_t digit = u'1'; digit <= u'5'; ++digit) {
        const auto key = registry.Keys().find(
            Fold(std::u16string(u"Software\\Microsoft\\Shell\\Keys\\40C") + digit));
        if (key == registry.Keys().end())
            continue;
        const auto value = [&](const char16_t* name) {
            const auto found = key->second.values.find(Fold(name));
            return found == key->second.values.end() ? "-" : Describe(found->second);
        };
        std::printf("  %c: %s starts %s, icon %s\n", static_cast<char>(digit),
                    value(u"Name").c_str(), value(u"Default").c_str(), value(u"Icon").c_str());
    }
}

void PrintLines(const char* title, const std::string& content) {
    std::printf("%s:%s\n", title, content.empty() ? " nothing" : "");
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);)
        std::printf("  %s\n", line.c_str());
}

} // namespace

void PrintStatus(const StateFolder& folder) {
    const SavedState state = folder.Load();
    const Identity identity = folder.CurrentIdentity();
    std::printf("model: %s\nversion: %s\nlanguage: %s\n", identity.model.c_str(),
                identity.version.c_str(), identity.language.c_str());
    std::printf("mode: %s%s\n", ModeName(state.mode),
                state.mode == Mode::Bootloader ? ", shows its picture" : "");
    std::printf("power: %s\n", folder.ExternalPower() ? "external" : "battery");
    PrintFlash(folder);
    PrintTransfer(state);
    std::printf("clock: %s", ReadWhole(folder.Path("clock")).value_or("never set\n").c_str());
    PrintMenus(folder);
    const DeviceRegistry registry(folder.Path("registry"));
    PrintButtons(registry);
    PrintRegistry(registry);
    PrintLines("refused", ReadWhole(folder.Path("refused")).value_or(""));
}

bool CompareFlash(const StateFolder& folder, const std::filesystem::path& image) {
    const Descriptor flash = OpenHost(folder.Flash(), O_RDONLY);
    const Descriptor file = OpenHost(image, O_RDONLY);
    const std::uint64_t payload = std::filesystem::file_size(image) - HeaderSize;
    if (payload < RestOffset || payload > folder.FlashSize())
        throw Failure("compare " + image.string() + ": its payload does not fit the flash");
    bool allEqual = true;
    for (const Region& region : Regions(payload)) {
        bool equal = true;
        for (std::uint64_t at = region.begin; at < region.end && equal; at += ChunkSize)
            equal = ReadChunk(flash, folder.Flash(), at, region.end) ==
                    ReadChunk(file, image, at + HeaderSize, region.end + HeaderSize);
        // An upgrade leaves the bootloader alone.
        const bool counts = region.begin != 0;
        std::printf("compare: %s: %s%s\n", region.name, equal ? "equal" : "DIFFERENT",
                    counts ? "" : ", as it may be");
        allEqual = allEqual && (equal || !counts);
    }
    return allEqual;
}

} // namespace simulator
