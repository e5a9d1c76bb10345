// The backup. Its only limit is the number of tries for each piece; a handheld that is gone fails
// every one of them.

#include "link/backup_transfer.h"

#include "device/remote_files.h"
#include "device/remote_program.h"
#include "frame/progress_bar.h"
#include "images/header.h"
#include "images/image_writer.h"
#include "images/language_table.h"
#include "rapi/rapi.h"
#include "state/handles.h"
#include "state/state.h"

#include <memory>
#include <new>

namespace {

constexpr char16_t BackupProgram[] = u"\\Temp\\sarvel.exe";
constexpr char16_t PieceFile[] = u"\\Temp\\image.nb";

constexpr DWORD FirstPieceMilliseconds = 5000;
constexpr DWORD PollMilliseconds = 100;
constexpr int MaxTries = 2001; // for one piece, about 200 seconds

void DeleteRemnants() {
    CeDeleteFile(BackupProgram);
    CeDeleteFile(PieceFile);
}

bool StartBackupProgram() {
    DeleteRemnants();
    PushFolderFile("sarvel.exe", "sarvel.exe"); // without it in the folder the start fails
    return StartRemoteProgram(BackupProgram);
}

// The open succeeds when the piece is complete.
OwnedDeviceFile AwaitPiece() {
    for (int tries = 0; tries < MaxTries; ++tries) {
        Sleep(PollMilliseconds);
        OwnedDeviceFile piece(CeCreateFile(PieceFile, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING,
                                           FILE_ATTRIBUTE_NORMAL));
        if (piece)
            return piece;
    }
    return {};
}

// A piece that comes short fills up its length all the same; the file will then not verify. The
// deletion lets the handheld go on.
bool SavePiece(std::uint8_t* buffer, ImageWriter& file) {
    OwnedDeviceFile piece = AwaitPiece();
    if (!piece)
        return false;
    std::uint32_t received = 0;
    CeReadFile(piece.Get(), buffer, BackupPieceSize, &received);
    const bool written = file.Append({buffer, BackupPieceSize}, received);
    piece.Close(); // an open file cannot be deleted
    if (written)
        CeDeleteFile(PieceFile);
    return written;
}

bool SavePieces(std::uint8_t* buffer, ImageWriter& file, std::uint32_t size) {
    for (std::uint32_t saved = 0; saved < size; saved += BackupPieceSize) {
        if (!SavePiece(buffer, file))
            return false;
        AdvanceProgress(BackupPieceSize, size);
    }
    return file.Finish({State.Handheld.DeviceModel, State.Handheld.DeviceLanguage,
                        State.Handheld.DeviceVersionText});
}

} // namespace

std::uint32_t RomSize(const char* languageFolder, const char* versionText) {
    constexpr float LargerSince = 2.0F;
    const bool late = VersionNumber(versionText) >= LargerSince;
    if (HasSmallRom(languageFolder))
        return late ? 0x1000000 : 0xF80000;
    return late ? 0x2000000 : 0x1F80000;
}

BackupOutcome SaveRom() {
    const std::unique_ptr<std::uint8_t[]> buffer(new (std::nothrow)
                                                     std::uint8_t[BackupPieceSize]());
    if (!buffer)
        return BackupOutcome::Failed;
    const std::uint32_t size =
        RomSize(State.Paths.LanguageFolder, State.Handheld.DeviceVersionText);
    ResetProgress(size);
    if (!StartBackupProgram())
        return BackupOutcome::ProgramDidNotStart;
    Sleep(FirstPieceMilliseconds);
    // Keeps writers away from the image that is going to be flashed. It has been verified, and
    // nothing verifies it again: a backup must not take its place, by whichever name the user
    // reaches it.
    const OwnedFile image = OpenForReading(State.Paths.ImagePath);
    ImageWriter file;
    if (!file.Create(State.Paths.BackupPath))
        return BackupOutcome::FileNotCreated;
    if (!SavePieces(buffer.get(), file, size))
        return BackupOutcome::Failed;
    DeleteRemnants();
    return BackupOutcome::Saved;
}
