// All values in one table, in the order in which they are written. Versions are compared as 32-bit
// numbers on both sides: in 64 bits the text "1.40" would not be equal to 1.4.

#include "preparation/device_values.h"

#include "device/remote_registry.h"

#include <string_view>

namespace {

constexpr char16_t DiskKey[] = u"\\Drivers\\NvnDisk";
constexpr char16_t PowerKey[] = u"\\ControlPanel\\Power";

constexpr std::uint32_t TextType = 1;
constexpr std::uint32_t NumberType = 4;

constexpr float HighWindow = 1.6F; // from here on the disk's window lies higher
constexpr float LastEarly = 1.4F;
constexpr float FirstLate = 1.41F;

bool IsBelowHighWindow(float version) { return version < HighWindow; }
bool HasHighWindow(float version) { return version >= HighWindow; }
bool TakesALayout(float version) { return TakesEarlyLayout(version) || TakesLateLayout(version); }

struct DeviceValue {
    const char16_t* key;
    const char16_t* name;
    std::u16string_view text; // a number where it is empty
    std::uint32_t number;
    bool (*applies)(float imageVersion);
};

constexpr DeviceValue DeviceValues[] = {
    {DiskKey, u"WindowBase", {}, 0xAE000000, IsBelowHighWindow},
    {DiskKey, u"WindowBase", {}, 0xB2000000, HasHighWindow},
    {PowerKey, u"Group", {}, 1, TakesALayout},
    {PowerKey, u"Redirect", u"\\windows\\ctlpnl.exe powerg.cpl", 0, TakesEarlyLayout},
    {PowerKey, u"Redirect", u"\\windows\\ctlpnl.exe MyCpl,5", 0, TakesLateLayout},
    {DiskKey, u"Size", {}, 0x2000000, TakesLateLayout},
    {DiskKey, u"Folder", u"Norvan DISK", 0, TakesLateLayout},
    {DiskKey, u"DisableInt", {}, 0, TakesLateLayout},
    {DiskKey, u"OnBoard", {}, 0, TakesLateLayout},
    {DiskKey, u"Dll", u"NVNDSK.DLL", 0, TakesLateLayout},
    {DiskKey, u"Index", {}, 8, TakesLateLayout},
};

void WriteValue(const DeviceValue& value) {
    if (value.text.empty()) {
        SetDeviceValue(CeLocalMachine, value.key, value.name, NumberType, &value.number,
                       sizeof(value.number));
        return;
    }
    const auto size = static_cast<std::uint32_t>(2 * value.text.size() + 2); // with terminator
    SetDeviceValue(CeLocalMachine, value.key, value.name, TextType, value.text.data(), size);
}

} // namespace

bool TakesEarlyLayout(float imageVersion) { return imageVersion <= LastEarly; }

bool TakesLateLayout(float imageVersion) { return imageVersion >= FirstLate; }

void WriteDeviceValues(float imageVersion) {
    for (const DeviceValue& value : DeviceValues) {
        if (value.applies(imageVersion))
            WriteValue(value);
    }
    // The early layout has no disk driver; the window just written goes with it.
    if (TakesEarlyLayout(imageVersion))
        CeRegDeleteKey(CeLocalMachine, DiskKey);
}
