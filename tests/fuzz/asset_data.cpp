// What a handheld says of itself: an asset file and type.dat of any content. Model, version and
// language are the low bytes at their places; a file too short for them says nothing.

#include "device/identity.h"
#include "device/remote_files.h"
#include "device/remote_program.h"
#include "rapi/rapi.h"
#include "state/state.h"
#include "tests/fuzz/target.h"

using fuzz::Require;

static fuzz::Input Files[2]; // the asset file, handle 0, and type.dat
static BOOL HasTypeFile;

// The handheld, in place of a real one.
bool StartRemoteProgram(const char16_t*) { return true; }
bool PushFolderFile(const char*, const char*) { return true; }
bool DeleteDeviceFile(const char*) { return true; }
BOOL CeDeleteFile(const char16_t*) { return HasTypeFile = FALSE, TRUE; }
BOOL CeCloseHandle(CeHandle) { return TRUE; }
BOOL CeFindClose(CeHandle) { return TRUE; }
std::int32_t CeRapiUninit() { return 0; }
CeHandle CeFindFirstFile(const char16_t*, CeFindData*) { return 2; }
CeHandle CeCreateFile(const char16_t* path, std::uint32_t, std::uint32_t, std::uint32_t,
                      std::uint32_t) {
    return std::u16string_view(path).ends_with(u"type.dat");
}
std::uint32_t CeGetFileSize(CeHandle) { return 0; }
BOOL CeReadFile(CeHandle file, void* buffer, std::uint32_t count, std::uint32_t* done) {
    const fuzz::Bytes part = Files[file].Take(count);
    std::ranges::copy(part, static_cast<std::uint8_t*>(buffer));
    *done = static_cast<std::uint32_t>(part.size());
    return TRUE;
}
void Pause(DWORD) __asm__("__wrap__Z5Sleepj");
void Pause(DWORD) {}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input{{data, size}};
    const fuzz::Bytes type = input.Take(input.Byte() % 4), asset = input.left;
    Files[0].left = asset;
    Files[1].left = type;
    HandheldValues& handheld = State.Handheld;
    handheld.FlashSizeMB = 0;
    HasTypeFile = TRUE;
    const bool whole = asset.size() >= 2578;
    std::string model, version;
    const auto isZero = [&](std::size_t at) { return asset[at] == 0 && asset[at + 1] == 0; };
    for (std::size_t at = 152; whole && at < 152 + 18 && !isZero(at); at += 2)
        model += static_cast<char>(asset[at]);
    for (std::size_t at = 2556; whole && at < 2578; at += 2)
        version += isZero(at) ? '.' : static_cast<char>(asset[at]);
    for (const char* repaired : {"1..2.00 ENG", "1..2.00 JPN"})
        if (lstrcmpiA(version.c_str(), repaired) == 0)
            version[2] = '1';
    Require(ReadAssetData() == whole);
    Require(!whole || (std::string(handheld.DeviceModel) == model.c_str() &&
                       std::string(handheld.DeviceVersionText) == version.substr(0, 4).c_str() &&
                       std::string(handheld.DeviceLanguage) == version.substr(8).c_str()));
    Require(ReadFlashSize() == (type.size() >= 2) && !HasTypeFile); // whatever it held
    Require(handheld.FlashSizeMB == (type.size() >= 2 ? type[1] : 0));
    return 0;
}
