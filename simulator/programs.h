// What the programs on the handheld do when they are started.
//
// A program runs only if its file is whole where it is started from; anything else is
// error 2 or 193, as on a handheld. Nothing here waits: what takes time is a timer.
#pragma once

#include "simulator/device_files.h"
#include "simulator/device_state.h"
#include "simulator/event_loop.h"
#include "simulator/faults.h"
#include "simulator/report.h"

#include <functional>

namespace simulator {

// Which end the flasher listens to.
enum class LinkKind { Serial, Usb };

class Programs {
public:
    struct Context {
        EventLoop& loop;
        const StateFolder& folder;
        DeviceFiles& files;
        const Faults& faults;
        const Report& report;
    };
    // `enterFlasher` is called from within Start when the flasher takes the handheld over.
    Programs(Context context, std::function<void(LinkKind)> enterFlasher);
    ~Programs();
    Programs(const Programs&) = delete;
    Programs& operator=(const Programs&) = delete;

    // Error code, 0 for started.
    std::uint32_t Start(std::u16string_view program, std::u16string_view commandLine);
    // HRESULT of the call of a library's function.
    std::uint32_t Invoke(std::u16string_view library, std::u16string_view function,
                         std::span<const std::uint8_t> input);
    // Called after every file that was deleted: the backup waits for that, and ends when its own
    // file has gone. And before every one that is opened, for the pieces that come late.
    void HandleDeletion(std::u16string_view path);
    void HandleOpening(std::u16string_view path);

private:
    void WriteAssetFile();
    void WriteTypeFile();
    void StartBackup();
    void BeginPiece();
    void FinishPiece();
    void StopPiece();
    void EndBackup();
    std::uint32_t PieceNumber() const; // from 1
    void StartFlasher(std::u16string_view commandLine);

    Context context_;
    std::function<void(LinkKind)> enterFlasher_;
    std::optional<std::uint64_t> backupOffset_; // of the next piece in the flash
    EventLoop::Timer pieceTimer_ = 0;
    std::optional<std::uint32_t> piece_; // handle of its file, while it is being written
    std::uint32_t lateTries_ = 0;        // openings of a late piece
};

} // namespace simulator
