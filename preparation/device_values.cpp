// The registry values in one table, in the order in which they are written.

#include "preparation/device_values.h"

#include "device/remote_registry.h"
#include "preparation/layout.h"

namespace {

constexpr char16_t DiskKey[] = u"\\Drivers\\NvnDisk";
constexpr char16_t PowerKey[] = u"\\ControlPanel\\Power";

constexpr float HighWindow = 1.6F; // from here on the disk's window lies higher

bool IsBelowHighWindow(float version) { return version < HighWindow; }
bool HasHighWindow(float version) { return version >= HighWindow; }
bool IsEarly(float version) { return LayoutOf(version) == EarlyLayout; }
bool IsLate(float version) { return LayoutOf(version) == LateLayout; }
bool HasLayout(float version) { return LayoutOf(version).has_value(); }

struct DeviceValue {
    const char16_t* key;
    const char16_t* name;
    const char16_t* text; // null: the number
    std::uint32_t number;
    bool (*applies)(float imageVersion);
};

constexpr DeviceValue DeviceValues[] = {
    {DiskKey, u"WindowBase", nullptr, 0xAE000000, IsBelowHighWindow},
    {DiskKey, u"WindowBase", nullptr, 0xB2000000, HasHighWindow},
    {PowerKey, u"Group", nullptr, 1, HasLayout},
    {PowerKey, u"Redirect", u"\\windows\\ctlpnl.exe powerg.cpl", 0, IsEarly},
    {PowerKey, u"Redirect", u"\\windows\\ctlpnl.exe MyCpl,5", 0, IsLate},
    {DiskKey, u"Size", nullptr, 0x2000000, IsLate},
    {DiskKey, u"Folder", u"Norvan DISK", 0, IsLate},
    {DiskKey, u"DisableInt", nullptr, 0, IsLate},
    {DiskKey, u"OnBoard", nullptr, 0, IsLate},
    {DiskKey, u"Dll", u"NVNDSK.DLL", 0, IsLate},
    {DiskKey, u"Index", nullptr, 8, IsLate},
};

void WriteValue(const DeviceValue& value) {
    if (value.text)
        SetDeviceText(value.key, value.name, value.text);
    else
        SetDeviceNumber(value.key, value.name, value.number);
}

} // namespace

void WriteDeviceValues(float imageVersion) {
    for (const DeviceValue& value : DeviceValues) {
        if (value.applies(imageVersion))
            WriteValue(value);
    }
    // The early layout has no disk driver; the window just written goes with it.
    if (IsEarly(imageVersion))
        CeRegDeleteKey(CeLocalMachine, DiskKey);
}
