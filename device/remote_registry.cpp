// Setting registry values of the handheld, one at a time, with the key opened and closed around it:
// a connection that is lost between two values leaves nothing open.

#include "device/remote_registry.h"

#include "state/handles.h"

#include <string>

namespace {

constexpr std::uint32_t TextType = 1;
constexpr std::uint32_t NumberType = 4;

} // namespace

bool SetDeviceValue(CeKey root, const char16_t* key, const char16_t* name, std::uint32_t type,
                    const void* data, std::uint32_t size) {
    CeKey opened = 0;
    std::uint32_t disposition = 0;
    if (CeRegOpenKeyEx(root, key, 0, &opened) != ERROR_SUCCESS &&
        CeRegCreateKeyEx(root, key, &opened, &disposition) != ERROR_SUCCESS)
        return false;
    const OwnedDeviceKey owner(opened);
    return CeRegSetValueEx(opened, name, type, data, size) == ERROR_SUCCESS;
}

bool SetDeviceText(const char16_t* key, const char16_t* name, std::u16string_view text) {
    const std::u16string terminated(text);
    const auto size = static_cast<std::uint32_t>(2 * (text.size() + 1));
    return SetDeviceValue(CeLocalMachine, key, name, TextType, terminated.c_str(), size);
}

bool SetDeviceNumber(const char16_t* key, const char16_t* name, std::uint32_t number) {
    return SetDeviceValue(CeLocalMachine, key, name, NumberType, &number, sizeof(number));
}
