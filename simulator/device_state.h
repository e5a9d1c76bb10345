// The state folder of a handheld: what survives when it is switched off.
//
//     identity       its own where the ROM holds none: "model=…", "version=…", "language=…"
//     flash.bin      the flash, byte for byte
//     files/         the file system; names in UTF-8
//     attributes     those that are not the usual ones: "0x22 Temp/Harbel_Link.exe"
//     registry       its registry, a text file
//     power          "external" or "battery"
//     state          mode, resets, and the transfer that is under way or was broken off
//     refused        what it refused, a line each
//     clock          the time that it was set to
//     pid            number of the process that runs it, locked while it runs
//
// `state` is written only by the process that runs the handheld, or under the lock of `pid`.
#pragma once

#include "simulator/images.h"

namespace simulator {

enum class Mode { Normal, Flasher, Bootloader };
const char* ModeName(Mode mode);

// The transfer that is under way or was broken off.
struct Transfer {
    std::uint32_t size = 0;       // bytes behind the bootloader; 0: not known
    std::uint32_t pieces = 0;     // written by the flasher since the size came
    std::uint32_t blockEnd = 0;   // flash offset up to which the bootloader wrote; 0: nothing
    bool touched = false;         // flash and old system differ, by this transfer or one before
    bool heldBackStarted = false; // the old system can no longer start

    std::uint32_t PieceCount() const; // that make up the size
    // Offset in the flash of a piece, counted from 0: the held-back block comes last.
    std::uint32_t OffsetOf(std::uint32_t piece) const;
    bool Complete() const;
};

struct SavedState {
    Mode mode = Mode::Normal;
    std::uint32_t resets = 0;
    Transfer transfer;
};

// A handheld's folder. All operations throw a Failure where the host refuses.
class StateFolder {
public:
    // An existing one; throws a Failure where there is no handheld in the folder.
    explicit StateFolder(std::filesystem::path folder);
    // A new one; throws a Failure where the folder exists and is not empty.
    static StateFolder Create(const std::filesystem::path& folder, const Identity& identity,
                              std::uint32_t flashMegabytes, bool externalPower);

    std::filesystem::path Path(const std::string& name) const { return folder_ / name; }
    std::filesystem::path Flash() const { return Path("flash.bin"); }
    std::uint64_t FlashSize() const;

    // That of the ROM, or the one it was created with where the ROM holds none.
    Identity CurrentIdentity() const;

    bool ExternalPower() const;
    void SetExternalPower(bool external) const;

    SavedState Load() const;
    void Save(const SavedState& state) const;

    // What a reset makes of the state: a complete transfer is the new system; one broken off
    // before the held-back block brings the flasher up again, a later one the bootloader, as does
    // the navigator key. Saved by the caller.
    static void Reset(SavedState& state, bool navigatorKey);

    // The lock of a handheld that runs, or nothing where another process has it.
    std::optional<Descriptor> Lock() const;
    // The number in `pid`: that of the process that runs it, while the file is locked.
    int RunningProcess() const;

private:
    std::filesystem::path folder_;
};

} // namespace simulator
