// Writing the registry as text.
//
// A text value is written readably only where reading it back gives the same bytes: exactly one
// terminator, at its end, and nothing that an editor could change or lose. All else goes out in
// hexadecimal.

#include "platform/registry/registry_text.h"

#include "platform/base/byte_reader.h"
#include "platform/base/text.h"

#include <winreg.h>

#include <algorithm>

namespace platform {
namespace {

constexpr std::size_t LineWidth = 80;

std::string Hex(DWORD number, int digits) {
    constexpr std::string_view Digits = "0123456789abcdef";
    std::string text;
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        text += Digits[(number >> shift) & 0xF];
    return text;
}

std::string Quoted(std::u16string_view text) {
    std::string quoted = "\"";
    for (const char character : Utf8FromUtf16(text)) {
        if (character == '"' || character == '\\')
            quoted += '\\';
        quoted += character;
    }
    return quoted + '"';
}

// Whether the value can be written as a text in quotation marks, and that text without terminator.
bool IsReadable(const RegistryValue& value, std::u16string& text) {
    text = Utf16FromBytes(value.data);
    if (value.type != REG_SZ || value.data.size() % 2 != 0 || !text.ends_with(u'\0'))
        return false;
    text.pop_back();
    const bool hasControls = std::any_of(text.begin(), text.end(), [](char16_t c) {
        return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029 || c == 0xFEFF;
    });
    return !hasControls && Utf16FromUtf8(Utf8FromUtf16(text)) == text;
}

// "hex:" for binary data, "hex(2):" and so on for other types; the number is hexadecimal too.
std::string TypePrefix(DWORD type) {
    if (type == REG_BINARY)
        return "hex:";
    const std::string number = Hex(type, 8);
    return "hex(" + number.substr(std::min(number.find_first_not_of('0'), number.size() - 1)) +
           "):";
}

std::string HexLines(std::string line, std::string_view data) {
    std::string lines;
    for (std::size_t i = 0; i < data.size(); ++i) {
        line += Hex(static_cast<unsigned char>(data[i]), 2);
        if (i + 1 == data.size())
            break;
        line += ',';
        if (line.size() + 4 > LineWidth) {
            lines += line + "\\\n";
            line = "  ";
        }
    }
    return lines + line + "\n";
}

std::string ValueLines(const RegistryValue& value) {
    const std::string name = (value.name.empty() ? "@" : Quoted(value.name)) + "=";
    if (value.type == REG_DWORD && value.data.size() == 4) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(value.data.data());
        return name + "dword:" + Hex(ByteReader({bytes, 4}).Long(), 8) + "\n";
    }
    std::u16string text;
    if (IsReadable(value, text))
        return name + Quoted(text) + "\n";
    return HexLines(name + TypePrefix(value.type), value.data);
}

void AppendComments(std::string& file, const RegistryComments& comments) {
    for (const auto& comment : comments)
        file += comment + "\n";
}

// A key that only leads to others needs no section: theirs bring it back.
void AppendKey(std::string& file, const RegistryKey& key, const std::string& path) {
    const bool onlyLeads = key.values.Size() == 0 && key.comments.empty() && key.subKeys.Size() > 0;
    if (!onlyLeads) {
        file += "\n";
        AppendComments(file, key.comments);
        file += "[" + path + "]\n";
    }
    for (const auto& value : key.values.All()) {
        AppendComments(file, value->comments);
        file += ValueLines(*value);
    }
    for (const auto& subKey : key.subKeys.All())
        AppendKey(file, *subKey, path + "\\" + Utf8FromUtf16(subKey->name));
}

} // namespace

std::string FormatRegistry(const RegistryTree& tree) {
    std::string file = "Windows Registry Editor Version 5.00\n";
    for (const auto& root : tree.top.subKeys.All())
        AppendKey(file, *root, Utf8FromUtf16(root->name));
    if (!tree.comments.empty())
        file += "\n";
    AppendComments(file, tree.comments);
    return file;
}

} // namespace platform
