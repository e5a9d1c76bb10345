// The steps of the change, in their order: menu setting, registry, buttons, links. A version
// between the layouts gets the first two alone.

#include "preparation/device_changes.h"

#include "preparation/button_map.h"
#include "preparation/cool_menu.h"
#include "preparation/device_values.h"
#include "preparation/layout.h"
#include "preparation/start_menu.h"
#include "state/state.h"

#include <optional>

void ChangeDevice() {
    ClearCoolMenu();
    WriteDeviceValues(State.Image.ImageVersion);
    const std::optional<Layout> layout = LayoutOf(State.Image.ImageVersion);
    if (!layout)
        return;
    WriteButtonMap();
    MigrateStartMenu(*layout);
}
