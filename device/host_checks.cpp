// Readers of HKEY_LOCAL_MACHINE. The registry may hold anything under a name: texts without a
// terminator, values of another type or size. A buffer is therefore zeroed and has a byte more
// than a reader may fill.

#include "device/host_checks.h"

#include "state/handles.h"
#include "state/state.h"

#include <cstdio>
#include <initializer_list>

namespace {

constexpr char ActiveSyncKey[] = "SOFTWARE\\Microsoft\\Windows CE Services";
constexpr DWORD TextCapacity = 100; // bytes of a text value, and characters of a value's name

// Major times 10 plus minor; 3.10 counts as 40.
constexpr DWORD MinActiveSyncVersion = 35;

OwnedKey OpenMachineKey(const char* name) { return OpenKey(HKEY_LOCAL_MACHINE, name, KEY_READ); }

DWORD NumberOr0(const OwnedKey& key, const char* name) {
    DWORD number = 0;
    DWORD size = sizeof(number);
    const bool read = RegQueryValueExA(key.Get(), name, nullptr, nullptr,
                                       reinterpret_cast<BYTE*>(&number), &size) == ERROR_SUCCESS;
    return read ? number : 0;
}

bool ValueIsOneOf(const char* keyName, const char* valueName,
                  std::initializer_list<const char*> texts) {
    const OwnedKey key = OpenMachineKey(keyName);
    if (!key)
        return false;
    char data[TextCapacity + 1] = {};
    DWORD size = TextCapacity;
    const bool read = RegQueryValueExA(key.Get(), valueName, nullptr, nullptr,
                                       reinterpret_cast<BYTE*>(data), &size) == ERROR_SUCCESS;
    for (const char* text : texts) {
        if (read && lstrcmpiA(data, text) == 0)
            return true;
    }
    return false;
}

// True when the value at this index is there and was read.
bool ReadValueAt(const OwnedKey& key, DWORD index, char (&name)[TextCapacity + 1],
                 char (&data)[TextCapacity + 1]) {
    DWORD nameLength = TextCapacity;
    DWORD size = TextCapacity;
    const LONG result = RegEnumValueA(key.Get(), index, name, &nameLength, nullptr, nullptr,
                                      reinterpret_cast<BYTE*>(data), &size);
    if (result != ERROR_SUCCESS)
        return false;
    data[size <= TextCapacity ? size : TextCapacity] = '\0';
    return true;
}

} // namespace

bool ActiveSyncVersionOk() {
    const OwnedKey key = OpenMachineKey(ActiveSyncKey);
    return key && NumberOr0(key, "MajorVersion") * 10 + NumberOr0(key, "MinorVersion") >=
                      MinActiveSyncVersion;
}

bool IsWindows95() {
    return ValueIsOneOf("SOFTWARE\\Microsoft\\Windows\\CurrentVersion", "ProductName",
                        {"Microsoft Windows 95"});
}

bool IsOldWindowsNT() {
    return ValueIsOneOf("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", "CurrentVersion",
                        {"4.0", "3.51"});
}

void ReadSerialPortName(char (&buffer)[32]) {
    buffer[0] = '\0';
    if (!State.Run.SerialLinkSelected && !State.Run.BootloaderResume)
        return;
    const OwnedKey key = OpenMachineKey(ActiveSyncKey);
    if (!key)
        return;
    char name[TextCapacity + 1] = {};
    char data[TextCapacity + 1] = {};
    for (DWORD index = 0; ReadValueAt(key, index, name, data); ++index) {
        if (lstrcmpiA(name, "SerialPort") != 0)
            continue;
        const int length = std::snprintf(buffer, sizeof(buffer), "%s:", data);
        if (length < 0 || length >= static_cast<int>(sizeof(buffer)))
            buffer[0] = '\0'; // no port has such a name, and a cut one could be another port's
        break;
    }
}
