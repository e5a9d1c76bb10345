// Asking the handheld what it is.
//
// Model, version and language come from an asset file that a program of the handheld brings up to
// date; the flash size comes from a probe that is pushed, and its result file is removed so that
// the next question waits for a fresh one. An asset file too short for its fields says nothing: the
// program that writes it has failed.

#include "device/identity.h"

#include "device/remote_files.h"
#include "device/remote_program.h"
#include "rapi/rapi.h"
#include "state/handles.h"
#include "state/state.h"

#include <array>
#include <cstring>
#include <span>

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint32_t AssetSize = 12000; // as many as are read; what is wanted lies in them
constexpr std::size_t ModelOffset = 152;
constexpr std::size_t ModelUnits = 9; // UTF-16, as all units below
constexpr std::size_t VersionOffset = 2556;
constexpr std::size_t VersionUnits = 11; // "1.14.00 FRE"
constexpr std::size_t VersionCharacters = 4;
constexpr std::size_t LanguagePosition = 8;

constexpr char16_t ResultFile[] = u"\\temp\\type.dat";
constexpr DWORD PollMilliseconds = 100;
// 60 seconds of waiting. The waits are counted, not timed: the questions in between take what a
// slow cable makes them take, and that must not use up the handheld's time.
constexpr int MaxPolls = 600;

bool IsZeroUnit(Bytes field, std::size_t unit) {
    return field[2 * unit] == 0 && field[2 * unit + 1] == 0;
}

void ParseModel(Bytes field) {
    char(&model)[15] = State.Handheld.DeviceModel;
    std::memset(model, 0, sizeof(model));
    for (std::size_t unit = 0; unit < field.size() / 2 && !IsZeroUnit(field, unit); ++unit)
        model[unit] = static_cast<char>(field[2 * unit]);
}

// Two releases were delivered with a zero in place of the second digit of 1.12.
void RepairVersion(char (&text)[VersionUnits + 1]) {
    if (lstrcmpiA(text, "1..2.00 ENG") == 0 || lstrcmpiA(text, "1..2.00 JPN") == 0)
        text[2] = '1';
}

// A zero unit in this field does not end the text; it means a point.
void ParseVersionAndLanguage(Bytes field) {
    char text[VersionUnits + 1] = {};
    for (std::size_t unit = 0; unit < field.size() / 2; ++unit)
        text[unit] = IsZeroUnit(field, unit) ? '.' : static_cast<char>(field[2 * unit]);
    RepairVersion(text);
    HandheldValues& handheld = State.Handheld;
    std::memset(handheld.DeviceVersionText, 0, sizeof(handheld.DeviceVersionText));
    std::memcpy(handheld.DeviceVersionText, text, VersionCharacters);
    std::memset(handheld.DeviceLanguage, 0, sizeof(handheld.DeviceLanguage));
    std::memcpy(handheld.DeviceLanguage, text + LanguagePosition, VersionUnits - LanguagePosition);
}

bool AwaitResultFile() {
    for (int poll = 0; poll < MaxPolls; ++poll) {
        Sleep(PollMilliseconds);
        CeFindData found = {};
        if (const OwnedDeviceSearch search(CeFindFirstFile(ResultFile, &found)); search)
            return true;
    }
    return false;
}

bool ReadResultByte(CeHandle file, std::uint8_t* value) {
    std::uint32_t done = 0;
    return CeReadFile(file, value, 1, &done) && done == 1;
}

// The result file goes whatever it held, so that no later poll meets an old one.
bool ReadResultFile() {
    OwnedDeviceFile file(
        CeCreateFile(ResultFile, GENERIC_READ, 0, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL));
    if (!file)
        return false;
    std::uint8_t dropped = 0;
    std::uint8_t megabytes = 0;
    const bool read =
        ReadResultByte(file.Get(), &dropped) && ReadResultByte(file.Get(), &megabytes);
    const bool closed = file.Close();
    const bool deleted = CeDeleteFile(ResultFile) != 0;
    if (read)
        State.Handheld.FlashSizeMB = megabytes;
    return read && closed && deleted;
}

} // namespace

bool ReadAssetData() {
    if (!StartRemoteProgram(u"\\Windows\\Morvikor.exe"))
        return false;
    const OwnedDeviceFile file(CeCreateFile(u"\\Windows\\nvnAssetData.dat", GENERIC_READ,
                                            FILE_SHARE_READ, OPEN_EXISTING, 0));
    if (!file)
        return false;
    std::array<std::uint8_t, AssetSize> asset = {};
    std::uint32_t done = 0;
    if (CeGetFileSize(file.Get()) != INVALID_FILE_SIZE)
        CeReadFile(file.Get(), asset.data(), AssetSize, &done); // the count says what came
    if (done < VersionOffset + 2 * VersionUnits)
        return false;
    ParseModel(Bytes(asset).subspan(ModelOffset, 2 * ModelUnits));
    ParseVersionAndLanguage(Bytes(asset).subspan(VersionOffset, 2 * VersionUnits));
    return true;
}

bool ReadFlashSize() {
    // What is left of an earlier run goes first; without a new one in the folder the start fails.
    DeleteDeviceFile("\\Temp\\Tesselor.exe");
    PushFolderFile("Tesselor.exe");
    if (!StartRemoteProgram(u"\\Temp\\Tesselor.exe")) {
        CeRapiUninit();
        return false;
    }
    return AwaitResultFile() && ReadResultFile();
}
