// Dialog templates as the resource compiler writes them for DIALOGEX.
#pragma once

#include <windef.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace platform {

struct ControlTemplate {
    DWORD style;
    int x, y, width, height; // dialog units, from the dialog's client area
    int id;                  // -1 for a control without an id of its own
    std::string className;   // "button", "static", or the name of a registered class
    std::string text;        // Windows-1252; empty where the template names a picture
};

struct DialogTemplate {
    DWORD style;
    int x, y, width, height; // dialog units, client area
    std::string title;
    int pointSize; // 0: the template asks for no font
    int weight;
    std::string typeface;
    std::vector<ControlTemplate> controls;
};

// None where the bytes are cut off, cannot be meant, or are a template of the plain kind.
std::optional<DialogTemplate> ReadDialogTemplate(std::span<const std::uint8_t> bytes);

// Pixels of dialog units: the base units are 6 by 14 pixels, Arial 8 at 96 dots an inch.
int PixelsAcross(int units);
int PixelsDown(int units);

} // namespace platform
