// What a handheld says of itself: an asset file and type.dat of any content. Model, version and
// language are the low bytes at their places; a file too short for them says nothing.

#include "device/identity.h"
#include "device/remote_files.h"
#include "device/remote_program.h"
#include "rapi/rapi.h"
#include "state/state.h"
#include "tests/fuzz/target.h"

#include <cstring>

using fuzz::Require;

namespace {

using Bytes = std::span<const std::uint8_t>;
Bytes Files[2]; // what is left to read of the asset file, handle 0, and of type.dat

void CheckAsset(Bytes asset) {
    constexpr std::size_t ModelAt = 152, VersionAt = 2556, Least = 2578;
    const HandheldValues& handheld = State.Handheld;
    Require(ReadAssetData() == (asset.size() >= Least));
    if (asset.size() < Least)
        return Require(handheld.DeviceModel == std::string("OLD"));
    std::string model, version;
    const auto isZero = [&](std::size_t at) { return asset[at] == 0 && asset[at + 1] == 0; };
    for (std::size_t at = ModelAt; at < ModelAt + 18 && !isZero(at); at += 2)
        model += static_cast<char>(asset[at]);
    for (std::size_t at = VersionAt; at < Least; at += 2)
        version += isZero(at) ? '.' : static_cast<char>(asset[at]);
    for (const char* repaired : {"1..2.00 ENG", "1..2.00 JPN"})
        if (lstrcmpiA(version.c_str(), repaired) == 0)
            version[2] = '1';
    Require(std::memcmp(handheld.DeviceModel, model.c_str(), model.size() + 1) == 0);
    Require(handheld.DeviceVersionText == std::string(version.substr(0, 4).c_str()));
    Require(handheld.DeviceLanguage == std::string(version.substr(8).c_str()));
}

} // namespace

// The handheld, in place of a real one.
bool StartRemoteProgram(const char16_t*) { return true; }
bool PushFolderFile(const char*, const char*) { return true; }
bool DeleteDeviceFile(const char*) { return true; }
BOOL CeDeleteFile(const char16_t*) { return TRUE; }
BOOL CeCloseHandle(CeHandle) { return TRUE; }
BOOL CeFindClose(CeHandle) { return TRUE; }
std::int32_t CeRapiUninit() { return 0; }
CeHandle CeFindFirstFile(const char16_t*, CeFindData*) { return 2; }
CeHandle CeCreateFile(const char16_t* path, std::uint32_t, std::uint32_t, std::uint32_t,
                      std::uint32_t) {
    return std::u16string_view(path).ends_with(u"type.dat");
}
std::uint32_t CeGetFileSize(CeHandle file) {
    return static_cast<std::uint32_t>(Files[file].size());
}
BOOL CeReadFile(CeHandle file, void* buffer, std::uint32_t count, std::uint32_t* done) {
    const Bytes part = Files[file].first(std::min<std::size_t>(count, Files[file].size()));
    Files[file] = Files[file].subspan(part.size());
    std::ranges::copy(part, static_cast<std::uint8_t*>(buffer));
    *done = static_cast<std::uint32_t>(part.size());
    return TRUE;
}
extern "C" void __wrap__Z5Sleepj(DWORD) {}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const Bytes type = Files[1] = input.Bytes(input.Byte() % 4),
                asset = Files[0] = input.Bytes(size);
    std::strcpy(State.Handheld.DeviceModel, "OLD");
    State.Handheld.FlashSizeMB = 0;
    CheckAsset(asset);
    Require(ReadFlashSize() == (type.size() >= 2));
    Require(State.Handheld.FlashSizeMB == (type.size() >= 2 ? type[1] : 0));
    return 0;
}
