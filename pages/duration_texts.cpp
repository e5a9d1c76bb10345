// The table of duration texts. A small ROM needs half the time of a large one.

#include "pages/duration_texts.h"

#include "images/language_table.h"
#include "resources/resource.h"

#include <array>

namespace {

struct Durations {
    unsigned serialShort, usbShort, serialLong, usbLong;
};

// In the order of DurationFamily.
constexpr std::array<Durations, 4> Families{{
    {IDS_BACKUP_OFFER_SERIAL, IDS_BACKUP_OFFER_USB, IDS_BACKUP_OFFER_SERIAL_LONG,
     IDS_BACKUP_OFFER_USB_LONG},
    {IDS_BACKING_UP_SERIAL, IDS_BACKING_UP_USB, IDS_BACKING_UP_SERIAL_LONG,
     IDS_BACKING_UP_USB_LONG},
    {IDS_UPGRADE_READY_SERIAL, IDS_UPGRADE_READY_USB, IDS_UPGRADE_READY_SERIAL_LONG,
     IDS_UPGRADE_READY_USB_LONG},
    {IDS_UPGRADING_SERIAL, IDS_UPGRADING_USB, IDS_UPGRADING_SERIAL_LONG, IDS_UPGRADING_USB_LONG},
}};

} // namespace

unsigned DurationText(DurationFamily family, bool serialLink, const char* languageFolder) {
    const Durations& texts = Families[static_cast<std::size_t>(family)];
    if (HasSmallRom(languageFolder))
        return serialLink ? texts.serialShort : texts.usbShort;
    return serialLink ? texts.serialLong : texts.usbLong;
}
