// Makes and checks the device-side programs and their data files.

#include "simulator/agents.h"

#include "simulator/images.h"

#include <zlib.h>

#include <algorithm>

namespace simulator {

namespace {

constexpr std::size_t SumSize = 4;

struct AgentFile {
    std::string_view name;
    std::size_t size; // one exactly a buffer of a push, the others not
};

constexpr AgentFile AgentFiles[] = {
    {FlashSizeProgram, 6148}, {BackupProgram, 9001}, {FlashProgram, 12289},
    {SerialFlasher, 4096},    {UsbFlasher, 8191},    {ClockLibrary, 5003},
};

std::string FirstLine(std::string_view name) { return "AGENT 1 " + std::string(name) + "\n"; }

std::uint32_t Sum(std::span<const std::uint8_t> bytes) {
    return static_cast<std::uint32_t>(crc32(0, bytes.data(), static_cast<uInt>(bytes.size())));
}

} // namespace

Bytes MakeAgent(std::string_view name, std::size_t size) {
    Bytes file(size);
    Fill(file, name.size(), 0);
    const std::string line = FirstLine(name);
    std::copy(line.begin(), line.end(), file.begin());
    const std::uint32_t sum = Sum(std::span(file).first(size - SumSize));
    for (std::size_t at = 0; at < SumSize; ++at)
        file[size - SumSize + at] = static_cast<std::uint8_t>(sum >> (8 * at));
    return file;
}

bool IsWholeAgent(std::span<const std::uint8_t> file, std::string_view name) {
    const std::string line = FirstLine(name);
    if (file.size() < line.size() + SumSize || !std::equal(line.begin(), line.end(), file.begin()))
        return false;
    const auto stored = file.last(SumSize);
    const auto sum = std::uint32_t{stored[0]} | std::uint32_t{stored[1]} << 8 |
                     std::uint32_t{stored[2]} << 16 | std::uint32_t{stored[3]} << 24;
    return sum == Sum(file.first(file.size() - SumSize));
}

void MakeAgents(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw Failure("make " + folder.string() + ": " + error.message());
    for (const AgentFile& agent : AgentFiles)
        WriteWhole(folder / agent.name, MakeAgent(agent.name, agent.size));
    WriteWhole(folder / "module.dat",
               std::string(OldModule) + "\r\nOldPlayer.htm\r\nPanel Tour.exe\r\n$ end of list\r\n");
    WriteWhole(folder / "readme.doc",
               "{\\rtf1\\ansi The handheld has a new ROM. Press reset if it does not start.\\par}");
}

} // namespace simulator
