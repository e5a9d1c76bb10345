// Blanking the value. Where the handheld has none, none is created: nobody knows what the value
// would mean to it.

#include "preparation/cool_menu.h"

#include "rapi/rapi.h"
#include "state/handles.h"

namespace {

constexpr std::uint32_t QueryAccess = 1;
constexpr std::uint32_t NoType = 0;

} // namespace

void ClearCoolMenu() {
    CeKey menus = 0;
    if (CeRegOpenKeyEx(CeLocalMachine, u"ControlPanel\\Menus", QueryAccess, &menus) !=
        ERROR_SUCCESS)
        return;
    const OwnedDeviceKey owner(menus);
    std::uint8_t data[100] = {};
    std::uint32_t size = sizeof(data);
    if (CeRegQueryValueEx(menus, u"CoolMenu", data, &size) == ERROR_SUCCESS && data[0] != 0) {
        data[0] = 0;
        CeRegSetValueEx(menus, u"CoolMenu", NoType, data, 1);
    }
}
