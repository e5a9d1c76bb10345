// Values of the record, in the order in which they are written. The texts go out with the whole
// of their buffer, zeros included, except the path, which is stored without a terminator: a reader
// takes the stored length into account.

#include "wizard/progress_record.h"

#include "wizard/state.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

constexpr char SoftwareKey[] = "Software";
constexpr char RecordName[] = "FlashUtility";
constexpr char RecordKey[] = "Software\\FlashUtility";
constexpr char NoteName[] = "FlashUtilityHeldBack"; // its being there is all that it says
constexpr char NoteKey[] = "Software\\FlashUtilityHeldBack";
constexpr DWORD NameRoom = 100; // characters
constexpr DWORD DataRoom = 260; // bytes

// The key is damaged rather than long beyond this many values; the enumeration has to end even
// where the registry answers every index with an error of its own.
constexpr DWORD MostValues = 1000;

HKEY CreateKey(const char* path) {
    HKEY key = nullptr;
    if (RegCreateKeyExA(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                        nullptr) != ERROR_SUCCESS)
        return nullptr;
    return key;
}

void DeleteKeyOfSoftware(const char* name) {
    HKEY software = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, SoftwareKey, 0, KEY_ALL_ACCESS, &software) !=
        ERROR_SUCCESS)
        return;
    RegDeleteKeyA(software, name);
    RegCloseKey(software);
}

bool NoteIsThere() {
    HKEY note = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, NoteKey, 0, KEY_READ, &note) != ERROR_SUCCESS)
        return false;
    RegCloseKey(note);
    return true;
}

// A failed write is not reported anywhere: the upgrade then cannot be resumed, but it can be done.
void SetNumber(HKEY key, const char* name, DWORD value) {
    RegSetValueExA(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value));
}

void SetText(HKEY key, const char* name, const char* text, std::size_t size) {
    RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                   static_cast<DWORD>(size));
}

template <std::size_t Size>
void CopyStored(char (&target)[Size], const BYTE* data, DWORD length) {
    const std::size_t stored = std::min<std::size_t>(length, Size - 1);
    std::memset(target, 0, Size);
    std::memcpy(target, data, stored);
}

// What one value of the record means for the state. For numbers the first byte counts.
struct StoredValue {
    const char* name;
    void (*take)(const BYTE* data, DWORD length);
};

constexpr StoredValue StoredValues[] = {
    {"Language",
     [](const BYTE* data, DWORD n) { CopyStored(State.Places.LanguageFolder, data, n); }},
    {"ModelID", [](const BYTE* data, DWORD n) { CopyStored(State.Handheld.DeviceModel, data, n); }},
    {"Lang", [](const BYTE* data, DWORD n) { CopyStored(State.Handheld.DeviceLanguage, data, n); }},
    {"Version",
     [](const BYTE* data, DWORD n) { CopyStored(State.Handheld.DeviceVersionText, data, n); }},
    {"USB", [](const BYTE* data, DWORD) { State.Run.SerialLinkSelected = data[0] != 1; }},
    {"FlashFile", [](const BYTE* data, DWORD n) { CopyStored(State.Places.ImagePath, data, n); }},
    {"Critical", [](const BYTE* data, DWORD) { State.Run.BootloaderResume = data[0] == 1; }},
};

void TakeValue(const char* name, const BYTE* data, DWORD length, bool* pending) {
    if (lstrcmpiA(name, "Flash") == 0)
        *pending = data[0] == 1;
    for (const StoredValue& value : StoredValues) {
        if (lstrcmpiA(name, value.name) == 0)
            value.take(data, length);
    }
}

} // namespace

void WriteProgressRecord() {
    DeleteKeyOfSoftware(NoteName); // it would be about another transfer
    const HKEY key = CreateKey(RecordKey);
    if (!key)
        return;
    SetNumber(key, "Flash", 1);
    SetText(key, "Language", State.Places.LanguageFolder, sizeof(State.Places.LanguageFolder));
    SetText(key, "ModelID", State.Handheld.DeviceModel, sizeof(State.Handheld.DeviceModel));
    SetText(key, "Lang", State.Handheld.DeviceLanguage, sizeof(State.Handheld.DeviceLanguage));
    SetText(key, "Version", State.Handheld.DeviceVersionText,
            sizeof(State.Handheld.DeviceVersionText));
    SetNumber(key, "USB", State.Run.SerialLinkSelected ? 0 : 1);
    SetText(key, "FlashFile", State.Places.ImagePath, std::strlen(State.Places.ImagePath));
    RegCloseKey(key);
}

void MarkCriticalFailure() {
    const HKEY key = CreateKey(RecordKey);
    if (!key)
        return;
    SetNumber(key, "Critical", 1);
    RegCloseKey(key);
}

// The note goes last: alone it means nothing.
void DeleteProgressRecord() {
    DeleteKeyOfSoftware(RecordName);
    DeleteKeyOfSoftware(NoteName);
}

void NoteHeldBackBlock() {
    if (const HKEY note = CreateKey(NoteKey))
        RegCloseKey(note);
}

bool ReadProgressRecord() {
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, RecordKey, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return false;
    bool pending = false;
    for (DWORD index = 0; index < MostValues; ++index) {
        char name[NameRoom] = {};
        BYTE data[DataRoom] = {};
        DWORD nameLength = NameRoom;
        DWORD dataLength = DataRoom;
        const LONG result =
            RegEnumValueA(key, index, name, &nameLength, nullptr, nullptr, data, &dataLength);
        if (result == ERROR_NO_MORE_ITEMS)
            break;
        if (result == ERROR_SUCCESS)
            TakeValue(name, data, dataLength, &pending);
    }
    RegCloseKey(key);
    if (pending && NoteIsThere())
        State.Run.BootloaderResume = true;
    return pending;
}
