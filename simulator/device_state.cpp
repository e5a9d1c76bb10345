// Makes, reads and writes the state folder of a handheld.

#include "simulator/device_state.h"

#include "simulator/agents.h"
#include "simulator/arguments.h"
#include "simulator/wire.h"

#include <cerrno>
#include <map>
#include <sstream>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>

namespace simulator {

namespace {

constexpr Mode Modes[] = {Mode::Normal, Mode::Flasher, Mode::Bootloader};

// A registry and attributes that give the preparation of an upgrade something to change.
constexpr char FirstRegistry[] = "[ControlPanel]\n"
                                 "[ControlPanel\\Menus]\n"
                                 "\"CoolMenu\"=1:45 00 78 00 70 00 6c 00 6f 00 72 00 65 00 72 00 "
                                 "00 00\n"
                                 "[ControlPanel\\Power]\n"
                                 "\"Group\"=4:02 00 00 00\n"
                                 "[Drivers]\n"
                                 "[Drivers\\NvnDisk]\n"
                                 "\"Index\"=4:01 00 00 00\n";
constexpr char FirstAttributes[] = "0x25 Windows/Morvikor.exe\n";

std::map<std::string, std::string> ReadPairs(const std::filesystem::path& path) {
    std::map<std::string, std::string> pairs;
    std::istringstream lines(ReadWhole(path).value_or(""));
    for (std::string line; std::getline(lines, line);) {
        if (const auto equals = line.find('='); equals != std::string::npos)
            pairs[line.substr(0, equals)] = line.substr(equals + 1);
    }
    return pairs;
}

std::uint32_t Number(const std::map<std::string, std::string>& pairs, const std::string& name) {
    const auto found = pairs.find(name);
    return found == pairs.end() ? 0 : ParseNumber32(found->second);
}

void WriteFirstFiles(const std::filesystem::path& files) {
    for (const char* name : {"Windows", "Temp", "My Documents", "Program Files"})
        std::filesystem::create_directories(files / name);
    WriteWhole(files / "Windows" / IdentityProgram, MakeAgent(IdentityProgram, 7168));
    WriteWhole(files / "Windows" / OldModule, "an old module");
}

} // namespace

const char* ModeName(Mode mode) {
    switch (mode) {
    case Mode::Normal:
        return "normal";
    case Mode::Flasher:
        return "flasher";
    case Mode::Bootloader:
        return "bootloader";
    }
    return "unknown";
}

std::uint32_t Transfer::PieceCount() const {
    return size / PieceSize + (size % PieceSize != 0 ? 1 : 0);
}

std::uint32_t Transfer::OffsetOf(std::uint32_t piece) const {
    const std::uint32_t rest = PieceCount() - HeldBackSize / PieceSize;
    if (piece >= rest)
        return HeldBackOffset + (piece - rest) * PieceSize;
    return RestOffset + piece * PieceSize;
}

bool Transfer::Complete() const {
    if (blockEnd != 0)
        return blockEnd >= HeldBackOffset + size;
    return size != 0 && pieces == PieceCount();
}

StateFolder::StateFolder(std::filesystem::path folder) : folder_(std::move(folder)) {
    if (!std::filesystem::exists(Path("identity")))
        throw Failure("open " + folder_.string() + ": no handheld in this folder");
}

StateFolder StateFolder::Create(const std::filesystem::path& folder, const Identity& identity,
                                std::uint32_t flashMegabytes, bool externalPower) {
    CheckIdentity(identity);
    if (flashMegabytes < 1 || flashMegabytes > 255)
        throw Failure("create " + folder.string() + ": a flash has 1 to 255 MB");
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error || !std::filesystem::is_empty(folder, error))
        throw Failure("create " + folder.string() + ": " +
                      (error ? error.message() : "the folder is not empty"));
    WriteFirstFiles(folder / "files");
    WriteWhole(folder / "attributes", FirstAttributes);
    WriteWhole(folder / "registry", FirstRegistry);
    MakeFlash(folder / "flash.bin", identity, std::uint64_t{flashMegabytes} << 20);
    // Last, because it is what makes the folder a handheld.
    WriteWhole(folder / "identity", "model=" + identity.model + "\nversion=" + identity.version +
                                        "\nlanguage=" + identity.language + "\n");
    StateFolder state(folder);
    state.SetExternalPower(externalPower);
    state.Save({});
    return state;
}

std::uint64_t StateFolder::FlashSize() const {
    std::error_code error;
    const auto size = std::filesystem::file_size(Flash(), error);
    if (error)
        throw Failure("open " + Flash().string() + ": " + error.message());
    return size;
}

Identity StateFolder::CurrentIdentity() const {
    if (const auto identity = ReadIdentity(Flash(), IdentityOffset))
        return *identity;
    auto pairs = ReadPairs(Path("identity"));
    return {pairs["model"], FullVersion(pairs["version"]), pairs["language"]};
}

bool StateFolder::ExternalPower() const {
    return ReadWhole(Path("power")).value_or("") != "battery\n";
}

void StateFolder::SetExternalPower(bool external) const {
    WriteWhole(Path("power"), external ? "external\n" : "battery\n");
}

SavedState StateFolder::Load() const {
    const auto pairs = ReadPairs(Path("state"));
    SavedState state;
    for (const Mode mode : Modes) {
        if (const auto name = pairs.find("mode");
            name != pairs.end() && name->second == ModeName(mode))
            state.mode = mode;
    }
    state.resets = Number(pairs, "resets");
    state.transfer.size = Number(pairs, "size");
    state.transfer.pieces = Number(pairs, "pieces");
    state.transfer.blockEnd = Number(pairs, "block-end");
    state.transfer.touched = Number(pairs, "touched") != 0;
    state.transfer.heldBackStarted = Number(pairs, "held-back-started") != 0;
    return state;
}

void StateFolder::Save(const SavedState& state) const {
    std::ostringstream text;
    text << "mode=" << ModeName(state.mode) << "\nresets=" << state.resets
         << "\nsize=" << Hex(state.transfer.size) << "\npieces=" << state.transfer.pieces
         << "\nblock-end=" << Hex(state.transfer.blockEnd) << "\ntouched=" << state.transfer.touched
         << "\nheld-back-started=" << state.transfer.heldBackStarted << "\n";
    WriteWhole(Path("state"), text.str());
}

void StateFolder::Reset(SavedState& state, bool navigatorKey) {
    ++state.resets;
    const Transfer& transfer = state.transfer;
    if (transfer.Complete() || !transfer.touched) {
        state.transfer = {};
        state.mode = navigatorKey ? Mode::Bootloader : Mode::Normal;
    } else if (navigatorKey || transfer.heldBackStarted) {
        state.mode = Mode::Bootloader;
    } else {
        state.mode = Mode::Flasher;
    }
}

std::optional<Descriptor> StateFolder::Lock() const {
    Descriptor file = OpenHost(Path("pid"), O_RDWR | O_CREAT);
    if (flock(file.Number(), LOCK_EX | LOCK_NB) == 0)
        return file;
    if (errno != EWOULDBLOCK)
        FailOn("lock", Path("pid"));
    return std::nullopt;
}

int StateFolder::RunningProcess() const {
    const std::string number = ReadWhole(Path("pid")).value_or("");
    // Never 0 or less: to a signal, those are whole groups of processes.
    if (number.empty() || ParseNumber32(number) == 0 || ParseNumber32(number) > INT32_MAX)
        throw Failure("read " + Path("pid").string() + ": no process number in it");
    return static_cast<int>(ParseNumber32(number));
}

} // namespace simulator
