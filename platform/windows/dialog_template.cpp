// Reading dialog templates: the published DLGTEMPLATE and DLGTEMPLATEEX, each control aligned to 4
// bytes. The extended one is known by 1 and 0xFFFF at its start; it holds the styles the other
// way round, ids of 32 bits, and more words for the font.

#include "platform/windows/dialog_template.h"

#include "platform/base/byte_reader.h"
#include "platform/base/text.h"

#include <winuser.h>

namespace platform {

namespace {

constexpr int BaseWidth = 6;
constexpr int BaseHeight = 14;
constexpr int NormalWeight = 400;
constexpr BYTE DefaultCharSet = 1;

// A menu, class, title: nothing, 0xFFFF and a number, or a text.
struct Name {
    std::uint16_t number = 0;
    std::string text;
};

Name ReadName(ByteReader& reader) {
    Name name;
    std::uint16_t first = reader.Word();
    if (first == 0xFFFF) {
        name.number = reader.Word();
    } else if (first) {
        std::u16string text(1, static_cast<char16_t>(first));
        name.text = AnsiFromUtf16(text + reader.Text());
    }
    return name;
}

// Classes that templates name by number.
std::string ClassName(const Name& name) {
    switch (name.number) {
    case 0x80:
        return "button";
    case 0x81:
        return "edit";
    case 0x82:
        return "static";
    case 0x83:
        return "listbox";
    case 0x84:
        return "scrollbar";
    case 0x85:
        return "combobox";
    default:
        return name.text;
    }
}

template <class Template>
void ReadBounds(ByteReader& reader, Template& bounds) {
    bounds.x = reader.SignedWord();
    bounds.y = reader.SignedWord();
    bounds.width = reader.SignedWord();
    bounds.height = reader.SignedWord();
}

void ReadFont(ByteReader& reader, DialogTemplate& dialog, bool extended) {
    if (!(dialog.style & DS_SETFONT))
        return;
    dialog.pointSize = reader.Word();
    if (extended) {
        dialog.weight = reader.Word();
        dialog.italic = reader.Byte() != 0;
        dialog.charSet = reader.Byte();
    }
    dialog.typeface = AnsiFromUtf16(reader.Text());
}

ControlTemplate ReadControl(ByteReader& reader, bool extended) {
    ControlTemplate control = {};
    reader.AlignTo4();
    if (extended) {
        reader.Long(); // help id
        control.exStyle = reader.Long();
        control.style = reader.Long();
    } else {
        control.style = reader.Long();
        control.exStyle = reader.Long();
    }
    ReadBounds(reader, control);
    std::uint32_t id = extended ? reader.Long() : reader.Word();
    control.id = id == 0xFFFF ? -1 : static_cast<int>(id);
    control.className = ClassName(ReadName(reader));
    control.text = ReadName(reader).text;
    unsigned creationData = reader.Word(); // in the plain kind its own two bytes are counted in
    reader.Skip(!extended && creationData >= 2 ? creationData - 2 : creationData);
    return control;
}

// Styles of both kinds; true for the extended one.
bool ReadStyles(ByteReader& reader, DialogTemplate& dialog) {
    std::uint32_t first = reader.Long();
    if (first != 0xFFFF0001) {
        dialog.style = first;
        dialog.exStyle = reader.Long();
        return false;
    }
    reader.Long(); // help id
    dialog.exStyle = reader.Long();
    dialog.style = reader.Long();
    return true;
}

} // namespace

std::optional<DialogTemplate> ReadDialogTemplate(std::span<const std::uint8_t> bytes) {
    DialogTemplate dialog = {};
    dialog.weight = NormalWeight;
    dialog.charSet = DefaultCharSet;
    ByteReader reader(bytes);
    bool extended = ReadStyles(reader, dialog);
    unsigned count = reader.Word();
    ReadBounds(reader, dialog);
    ReadName(reader); // menu
    ReadName(reader); // class: always the standard one
    dialog.title = ReadName(reader).text;
    ReadFont(reader, dialog, extended);
    for (unsigned i = 0; i < count && !reader.Failed(); ++i)
        dialog.controls.push_back(ReadControl(reader, extended));
    if (reader.Failed())
        return std::nullopt;
    return dialog;
}

// To the nearest pixel, as MulDiv rounds.
int PixelsAcross(int units) { return (2 * units * BaseWidth + 4) / 8; }

int PixelsDown(int units) { return (2 * units * BaseHeight + 8) / 16; }

} // namespace platform
