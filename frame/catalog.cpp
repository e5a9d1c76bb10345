// The texts of the catalog, and the capacity of each.
//
// A capacity is a promise to the pages: controls are laid out for texts of that length, and a text
// that grows beyond it is cut here rather than running out of its control. All of it lies in one
// buffer reserved from the start; nothing is allocated, and nothing is written after the load.

#include "frame/catalog.h"

#include "resources/resource.h"

#include <windows.h>

#include <array>
#include <cstdint>

namespace {

struct Entry {
    unsigned id;
    std::uint16_t capacity; // characters, terminator included
};

constexpr Entry Entries[] = {
    {IDS_TITLE, 100},
    {IDS_NEXT, 50},
    {IDS_CANCEL, 100},
    {IDS_QUIT, 20},
    {IDS_SAVE, 50},
    {IDS_UPGRADE, 50},
    {IDS_RESTORE, 50},
    {IDS_FINISH, 50},
    {IDS_FROM, 50},
    {IDS_TO, 50},
    {IDS_MODEL, 50},
    {IDS_CURRENT_VERSION, 50},
    {IDS_LANGUAGE, 50},
    {IDS_NEW_VERSION, 100},
    {IDS_IMAGE_SIZE, 50},
    {IDS_FLASH_SIZE, 50},
    {IDS_MEGABYTES, 20},
    {IDS_USB, 50},
    {IDS_SERIAL, 50},
    {IDS_NEXT_OR_CANCEL_HINT, 120},
    {IDS_CANCEL_HINT, 100},
    {IDS_QUIT_HINT, 100},
    {IDS_NEXT_HINT, 100},
    {IDS_FINISH_HINT, 256},
    {IDS_ENGLISH, 50},
    {IDS_FRENCH, 50},
    {IDS_GERMAN, 50},
    {IDS_ITALIAN, 50},
    {IDS_SPANISH, 50},
    {IDS_TRADITIONAL_CHINESE, 50},
    {IDS_SIMPLIFIED_CHINESE, 50},
    {IDS_JAPANESE, 50},
    {IDS_ERROR_100_HEADING, 100},
    {IDS_ERROR_100_DEVICE, 300},
    {IDS_ERROR_100_IMAGE, 100},
    {IDS_ERROR_100_HINT, 300},
    {IDS_ERROR_101_HEADING, 100},
    {IDS_ERROR_101_TEXT, 500},
    {IDS_ERROR_102_HEADING, 256},
    {IDS_ERROR_102_TEXT, 256},
    {IDS_ERROR_103_HEADING, 256},
    {IDS_ERROR_103_TEXT, 256},
    {IDS_ERROR_104_HEADING, 256},
    {IDS_ERROR_104_TEXT, 256},
    {IDS_ERROR_105_HEADING, 256},
    {IDS_ERROR_105_TEXT, 300},
    {IDS_ERROR_106_HEADING, 256},
    {IDS_ERROR_106_TEXT, 350},
    {IDS_ERROR_107_HEADING, 256},
    {IDS_ERROR_107_TEXT, 500},
    {IDS_ERROR_107_NOTE, 256},
    {IDS_ERROR_108_HEADING, 256},
    {IDS_ERROR_108_TEXT, 256},
    {IDS_ERROR_109_HEADING, 256},
    {IDS_ERROR_109_TEXT, 256},
    {IDS_ERROR_110_HEADING, 256},
    {IDS_ERROR_110_TEXT, 350},
    {IDS_WARNING_111_HEADING, 256},
    {IDS_WARNING_111_TEXT, 256},
    {IDS_WARNING_112_HEADING, 100},
    {IDS_WARNING_112_TEXT, 200},
    {IDS_ERROR_113_HEADING, 100},
    {IDS_ERROR_113_FIRST_STEPS, 360},
    {IDS_ERROR_113_LAST_STEPS, 400},
    {IDS_ERROR_114_HEADING, 256},
    {IDS_ERROR_114_FIRST_STEPS, 900},
    {IDS_ERROR_114_LAST_STEPS, 256},
    {IDS_ERROR_115_HEADING, 50},
    {IDS_ERROR_115_TEXT, 200},
    {IDS_BUSY, 150},
    {IDS_PREPARING, 100},
    {IDS_BACKUP_DONE, 100},
    {IDS_UPGRADING, 256},
    {IDS_KEEP_CONNECTED, 256},
    {IDS_NOTICE_HEADING, 70},
    {IDS_NOTICE_WARNING_LABEL, 20},
    {IDS_NOTICE_DATA_LOSS, 200},
    {IDS_NOTICE_DOCUMENTATION, 500},
    {IDS_WELCOME_HEADING, 100},
    {IDS_WELCOME_TEXT, 256},
    {IDS_WELCOME_LIST, 350},
    {IDS_HOST_STEPS, 456},
    {IDS_DEVICE_FIRST_STEPS, 350},
    {IDS_DEVICE_LAST_STEPS, 400},
    {IDS_DEVICE_NOTE, 300},
    {IDS_CONNECTION_QUESTION, 100},
    {IDS_CONNECTION_IMPORTANT, 200},
    {IDS_DEVICE_INFORMATION, 100},
    {IDS_ACTION_QUESTION, 100},
    {IDS_UPGRADE_TEXT, 100},
    {IDS_RESTORE_TEXT, 100},
    {IDS_VERSION_QUESTION, 100},
    {IDS_READY_ON_PC, 500},
    {IDS_READY_ON_DEVICE, 300},
    {IDS_BACKUP_OFFER_SERIAL, 500},
    {IDS_BACKUP_OFFER_USB, 500},
    {IDS_BACKUP_OFFER_SERIAL_LONG, 500},
    {IDS_BACKUP_OFFER_USB_LONG, 500},
    {IDS_BACKING_UP_SERIAL, 256},
    {IDS_BACKING_UP_USB, 256},
    {IDS_BACKING_UP_SERIAL_LONG, 256},
    {IDS_BACKING_UP_USB_LONG, 256},
    {IDS_UPGRADE_READY_SERIAL, 300},
    {IDS_UPGRADE_READY_USB, 300},
    {IDS_UPGRADE_READY_SERIAL_LONG, 300},
    {IDS_UPGRADE_READY_USB_LONG, 300},
    {IDS_UPGRADING_SERIAL, 256},
    {IDS_UPGRADING_USB, 256},
    {IDS_UPGRADING_SERIAL_LONG, 256},
    {IDS_UPGRADING_USB_LONG, 256},
    {IDS_UPGRADE_DONE, 200},
    {IDS_UPGRADE_DONE_STEPS, 650},
    {IDS_FINISH_TEXT, 650},
    {IDS_FINISH_README, 256},
    {IDS_FINISH_NOTE, 200},
};

constexpr unsigned FirstId = IDS_CANCEL, LastId = IDS_NOTICE_WARNING_LABEL;

// Where in the buffer each text starts. Offset 0 is the empty text, of every id without an entry.
struct TextOffsets {
    std::array<std::uint16_t, LastId - FirstId + 1> offsets{};
    std::size_t size = 1;
};

constexpr TextOffsets ComputeOffsets() {
    TextOffsets texts;
    for (const Entry& entry : Entries) {
        texts.offsets[entry.id - FirstId] = static_cast<std::uint16_t>(texts.size);
        texts.size += entry.capacity;
    }
    return texts;
}

constexpr TextOffsets Offsets = ComputeOffsets();
static_assert(Offsets.size <= 0xFFFF);

char Texts[Offsets.size];

constexpr std::size_t OffsetOf(unsigned id) {
    return id < FirstId || id > LastId ? 0 : Offsets.offsets[id - FirstId];
}

struct LanguageText {
    const char* folderName;
    unsigned text;
};

constexpr LanguageText LanguageTexts[] = {
    {"English", IDS_ENGLISH},
    {"French", IDS_FRENCH},
    {"German", IDS_GERMAN},
    {"Italian", IDS_ITALIAN},
    {"Spanish", IDS_SPANISH},
    {"TChinese", IDS_TRADITIONAL_CHINESE},
    {"SChinese", IDS_SIMPLIFIED_CHINESE},
    {"Japanese", IDS_JAPANESE},
};

} // namespace

void LoadMessageCatalog() {
    // The string table is that of the program itself, whose handle is not known yet.
    for (const Entry& entry : Entries)
        LoadStringA(nullptr, entry.id, Texts + OffsetOf(entry.id), entry.capacity);
}

const char* CatalogText(unsigned id) { return Texts + OffsetOf(id); }

const char* LanguageNameText(const char* folderName) {
    for (const LanguageText& language : LanguageTexts) {
        if (lstrcmpiA(folderName, language.folderName) == 0)
            return CatalogText(language.text);
    }
    return CatalogText(IDS_ENGLISH);
}
