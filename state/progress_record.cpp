// Values of the record, in the order in which they are written. The texts go out with the whole
// of their buffer, zeros included, except the path, which is stored without a terminator: a reader
// takes the stored length into account.

#include "state/progress_record.h"

#include "state/state.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

constexpr char SoftwareKey[] = "Software";
constexpr char RecordName[] = "FlashUtility";
constexpr char RecordKey[] = "Software\\FlashUtility";
constexpr char NoteName[] = "FlashUtilityHeldBack"; // it says so by being there
constexpr char NoteKey[] = "Software\\FlashUtilityHeldBack";
constexpr char ClosedPortName[] = "ClosedPort"; // a value of the note
constexpr DWORD NameCapacity = 100;             // characters
constexpr DWORD DataCapacity = 260;             // bytes

// The key is damaged rather than long beyond this many values; the enumeration has to end even
// where the registry answers every index with an error of its own.
constexpr DWORD MaxValues = 1000;

HKEY CreateKey(const char* path) {
    HKEY key = nullptr;
    if (RegCreateKeyExA(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                        nullptr) != ERROR_SUCCESS)
        return nullptr;
    return key;
}

// Null where there is no note.
HKEY OpenNote(REGSAM access) {
    HKEY note = nullptr;
    return RegOpenKeyExA(HKEY_CURRENT_USER, NoteKey, 0, access, &note) == ERROR_SUCCESS ? note
                                                                                        : nullptr;
}

void DeleteKeyOfSoftware(const char* name) {
    HKEY software = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, SoftwareKey, 0, KEY_ALL_ACCESS, &software) !=
        ERROR_SUCCESS)
        return;
    RegDeleteKeyA(software, name);
    RegCloseKey(software);
}

// A failed write is not reported anywhere: the upgrade then cannot be resumed, but it can be done.
void SetNumber(HKEY key, const char* name, DWORD value) {
    RegSetValueExA(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value));
}

void SetText(HKEY key, const char* name, const char* text, std::size_t size) {
    RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                   static_cast<DWORD>(size));
}

// The whole size of the buffer, with zeros behind the text whatever an earlier text has left there.
template <std::size_t Size>
void SetPaddedText(HKEY key, const char* name, const char (&text)[Size]) {
    char padded[Size] = {};
    std::memcpy(padded, text, strnlen(text, Size - 1));
    SetText(key, name, padded, Size);
}

template <std::size_t Size>
void CopyStored(char (&target)[Size], const BYTE* data, DWORD length) {
    const std::size_t stored = std::min<std::size_t>(length, Size - 1);
    std::memset(target, 0, Size);
    std::memcpy(target, data, stored);
}

// A path that does not fit is no path: cut, it would name another file.
void ReadImagePath(const BYTE* data, DWORD length) {
    CopyStored(State.Paths.ImagePath, data, length);
    if (length >= sizeof(State.Paths.ImagePath) && !std::memchr(data, 0, length))
        State.Paths.ImagePath[0] = '\0';
}

// What one value of the record means for the state. For numbers the first byte counts.
struct StoredValue {
    const char* name;
    void (*take)(const BYTE* data, DWORD length);
};

constexpr StoredValue StoredValues[] = {
    {"Language",
     [](const BYTE* data, DWORD n) { CopyStored(State.Paths.LanguageFolder, data, n); }},
    {"ModelID", [](const BYTE* data, DWORD n) { CopyStored(State.Handheld.DeviceModel, data, n); }},
    {"Lang", [](const BYTE* data, DWORD n) { CopyStored(State.Handheld.DeviceLanguage, data, n); }},
    {"Version",
     [](const BYTE* data, DWORD n) { CopyStored(State.Handheld.DeviceVersionText, data, n); }},
    {"USB", [](const BYTE* data, DWORD) { State.Run.SerialLinkSelected = data[0] != 1; }},
    {"FlashFile", ReadImagePath},
    {"Critical", [](const BYTE* data, DWORD) { State.Run.BootloaderResume = data[0] == 1; }},
};

void ApplyValue(const char* name, const BYTE* data, DWORD length, bool* pending) {
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
    SetPaddedText(key, "Language", State.Paths.LanguageFolder);
    SetPaddedText(key, "ModelID", State.Handheld.DeviceModel);
    SetPaddedText(key, "Lang", State.Handheld.DeviceLanguage);
    SetPaddedText(key, "Version", State.Handheld.DeviceVersionText);
    SetNumber(key, "USB", State.Run.SerialLinkSelected ? 0 : 1);
    SetText(key, "FlashFile", State.Paths.ImagePath, std::strlen(State.Paths.ImagePath));
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

bool HeldBackBlockNoted() {
    if (const HKEY note = OpenNote(KEY_READ)) {
        RegCloseKey(note);
        return true;
    }
    return false;
}

bool NoteClosedPort() {
    const HKEY note = OpenNote(KEY_ALL_ACCESS);
    if (!note)
        return false;
    const bool again =
        RegQueryValueExA(note, ClosedPortName, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    SetNumber(note, ClosedPortName, 1);
    RegCloseKey(note);
    return again;
}

bool ReadProgressRecord() {
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, RecordKey, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return false;
    bool pending = false;
    for (DWORD index = 0; index < MaxValues; ++index) {
        char name[NameCapacity] = {};
        BYTE data[DataCapacity] = {};
        DWORD nameLength = NameCapacity;
        DWORD dataLength = DataCapacity;
        const LONG result =
            RegEnumValueA(key, index, name, &nameLength, nullptr, nullptr, data, &dataLength);
        if (result == ERROR_NO_MORE_ITEMS)
            break;
        if (result == ERROR_SUCCESS)
            ApplyValue(name, data, dataLength, &pending);
    }
    RegCloseKey(key);
    return pending;
}
