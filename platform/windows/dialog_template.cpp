// Reading dialog templates of the published kind DLGTEMPLATEEX, which is known by 1 and 0xFFFF at
// its start; each control is aligned to 4 bytes.

#include "platform/windows/dialog_template.h"

#include "platform/base/byte_reader.h"
#include "platform/base/text.h"

#include <winuser.h>

namespace platform {

namespace {

constexpr int BaseWidth = 6;
constexpr int BaseHeight = 14;
constexpr std::uint32_t ExtendedTemplate = 0xFFFF0001;

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
    case 0x82:
        return "static";
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

void ReadFont(ByteReader& reader, DialogTemplate& dialog) {
    if (!(dialog.style & DS_SETFONT))
        return;
    dialog.pointSize = reader.Word();
    dialog.weight = reader.Word();
    reader.Word(); // italic, character set
    dialog.typeface = AnsiFromUtf16(reader.Text());
}

ControlTemplate ReadControl(ByteReader& reader) {
    ControlTemplate control = {};
    reader.AlignTo4();
    reader.Skip(8); // help id, extended style
    control.style = reader.Long();
    ReadBounds(reader, control);
    control.id = static_cast<std::int16_t>(reader.Long());
    control.className = ClassName(ReadName(reader));
    control.text = ReadName(reader).text;
    reader.Skip(reader.Word()); // what the control is created with
    return control;
}

} // namespace

std::optional<DialogTemplate> ReadDialogTemplate(std::span<const std::uint8_t> bytes) {
    DialogTemplate dialog = {};
    ByteReader reader(bytes);
    if (reader.Long() != ExtendedTemplate)
        return std::nullopt;
    reader.Skip(8); // help id, extended style
    dialog.style = reader.Long();
    unsigned count = reader.Word();
    ReadBounds(reader, dialog);
    ReadName(reader); // menu
    ReadName(reader); // class: always the standard one
    dialog.title = ReadName(reader).text;
    ReadFont(reader, dialog);
    for (unsigned i = 0; i < count && !reader.Failed(); ++i)
        dialog.controls.push_back(ReadControl(reader));
    if (reader.Failed())
        return std::nullopt;
    return dialog;
}

// To the nearest pixel, as MulDiv rounds.
int PixelsAcross(int units) { return (2 * units * BaseWidth + 4) / 8; }

int PixelsDown(int units) { return (2 * units * BaseHeight + 8) / 16; }

} // namespace platform
