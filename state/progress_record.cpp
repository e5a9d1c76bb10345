// Writing and reading the record. The texts go out with the whole of their buffer, zeros included,
// except the path, which is stored without a terminator: a reader goes by the stored length.

#include "state/progress_record.h"

#include "state/handles.h"
#include "state/state.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>

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

OwnedKey CreateKey(const char* path) {
    HKEY key = nullptr;
    const LONG result = RegCreateKeyExA(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_ALL_ACCESS,
                                        nullptr, &key, nullptr);
    return OwnedKey(result == ERROR_SUCCESS ? key : nullptr);
}

void DeleteKeyOfSoftware(const char* name) {
    if (const OwnedKey software = OpenKey(HKEY_CURRENT_USER, SoftwareKey, KEY_ALL_ACCESS))
        RegDeleteKeyA(software.Get(), name);
}

bool SetNumber(const OwnedKey& key, const char* name, DWORD value) {
    return RegSetValueExA(key.Get(), name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                          sizeof(value)) == ERROR_SUCCESS;
}

bool SetText(const OwnedKey& key, const char* name, std::string_view text) {
    return RegSetValueExA(key.Get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.data()),
                          static_cast<DWORD>(text.size())) == ERROR_SUCCESS;
}

// The whole size of the buffer, with zeros behind the text whatever an earlier text has left there.
template <std::size_t Size>
bool SetPaddedText(const OwnedKey& key, const char* name, const char (&text)[Size]) {
    char padded[Size] = {};
    std::memcpy(padded, text, strnlen(text, Size - 1));
    return SetText(key, name, {padded, Size});
}

using Bytes = std::span<const BYTE>;

template <std::size_t Size>
void CopyText(char (&target)[Size], Bytes data) {
    std::memset(target, 0, Size);
    std::memcpy(target, data.data(), std::min(data.size(), Size - 1));
}

// A path that does not fit is no path: cut, it would name another file.
void ReadImagePath(Bytes data) {
    CopyText(State.Paths.ImagePath, data);
    if (data.size() >= sizeof(State.Paths.ImagePath) &&
        std::ranges::find(data, BYTE{0}) == data.end())
        State.Paths.ImagePath[0] = '\0';
}

// What one value of the record means for the state.
struct StoredValue {
    const char* name;
    void (*apply)(Bytes data);
};

// Of a number the first byte counts, which is zero where the value has no bytes.
constexpr StoredValue StoredValues[] = {
    {"Language", [](Bytes data) { CopyText(State.Paths.LanguageFolder, data); }},
    {"ModelID", [](Bytes data) { CopyText(State.Handheld.DeviceModel, data); }},
    {"Lang", [](Bytes data) { CopyText(State.Handheld.DeviceLanguage, data); }},
    {"Version", [](Bytes data) { CopyText(State.Handheld.DeviceVersionText, data); }},
    {"USB", [](Bytes data) { State.Run.SerialLinkSelected = data.data()[0] != 1; }},
    {"FlashFile", ReadImagePath},
    {"Critical", [](Bytes data) { State.Run.BootloaderResume = data.data()[0] == 1; }},
};

// `data` is the start of a buffer that holds at least one byte.
void ApplyValue(const char* name, Bytes data, bool* pending) {
    if (lstrcmpiA(name, "Flash") == 0)
        *pending = data.data()[0] == 1;
    for (const StoredValue& value : StoredValues) {
        if (lstrcmpiA(name, value.name) == 0)
            value.apply(data);
    }
}

bool WriteRecordValues() {
    const OwnedKey key = CreateKey(RecordKey);
    return key && SetNumber(key, "Flash", 1) &&
           SetPaddedText(key, "Language", State.Paths.LanguageFolder) &&
           SetPaddedText(key, "ModelID", State.Handheld.DeviceModel) &&
           SetPaddedText(key, "Lang", State.Handheld.DeviceLanguage) &&
           SetPaddedText(key, "Version", State.Handheld.DeviceVersionText) &&
           SetNumber(key, "USB", State.Run.SerialLinkSelected ? 0 : 1) &&
           SetText(key, "FlashFile", State.Paths.ImagePath);
}

} // namespace

// A failure is not reported anywhere: the upgrade then cannot be resumed, but it can be done. Half
// a record would be resumed with what an empty one means: without an image, or over another link.
void WriteProgressRecord() {
    DeleteKeyOfSoftware(NoteName); // it would be about another transfer
    if (!WriteRecordValues() && !WriteRecordValues())
        DeleteKeyOfSoftware(RecordName);
}

void MarkCriticalFailure() {
    if (const OwnedKey key = CreateKey(RecordKey))
        SetNumber(key, "Critical", 1);
}

// The note goes last: alone it means nothing.
void DeleteProgressRecord() {
    DeleteKeyOfSoftware(RecordName);
    DeleteKeyOfSoftware(NoteName);
}

void NoteHeldBackBlock() { CreateKey(NoteKey); }

bool HeldBackBlockNoted() {
    return static_cast<bool>(OpenKey(HKEY_CURRENT_USER, NoteKey, KEY_READ));
}

bool NoteClosedPort() {
    const OwnedKey note = OpenKey(HKEY_CURRENT_USER, NoteKey, KEY_ALL_ACCESS);
    if (!note)
        return false;
    const bool again = RegQueryValueExA(note.Get(), ClosedPortName, nullptr, nullptr, nullptr,
                                        nullptr) == ERROR_SUCCESS;
    SetNumber(note, ClosedPortName, 1);
    return again;
}

bool ReadProgressRecord() {
    const OwnedKey key = OpenKey(HKEY_CURRENT_USER, RecordKey, KEY_READ);
    if (!key)
        return false;
    bool pending = false;
    for (DWORD index = 0; index < MaxValues; ++index) {
        char name[NameCapacity] = {};
        BYTE data[DataCapacity] = {};
        DWORD nameLength = NameCapacity;
        DWORD dataLength = DataCapacity;
        const LONG result =
            RegEnumValueA(key.Get(), index, name, &nameLength, nullptr, nullptr, data, &dataLength);
        if (result == ERROR_NO_MORE_ITEMS)
            break;
        if (result == ERROR_SUCCESS)
            ApplyValue(name, {data, dataLength}, &pending);
    }
    return pending;
}
