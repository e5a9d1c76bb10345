// An Arial whose lines are as high as those of Windows.
//
// Arial 8 is 14 pixels high at 96 dots an inch: its file has a table of hand-made heights, VDMX.
// Wine uses Liberation Sans for it, which is as wide to the pixel but has no such
// table, and so 12 pixels high: a page came out a seventh too low, its controls in its pictures.
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>

namespace page_test {

inline std::string BigEndian(std::uint32_t value, int bytes) {
    std::string text;
    while (bytes-- > 0)
        text += static_cast<char>(value >> 8 * bytes);
    return text;
}

inline std::uint32_t NumberAt(const std::string& text, std::size_t offset, int bytes) {
    std::uint32_t value = 0;
    while (bytes-- > 0)
        value = value << 8 | static_cast<std::uint8_t>(text.at(offset++));
    return value;
}

// The tables of a font file by their names.
inline std::map<std::string, std::string> TablesOf(const std::string& file) {
    std::map<std::string, std::string> tables;
    for (std::uint32_t i = 0; i < NumberAt(file, 4, 2); ++i) {
        const std::size_t entry = 12 + 16 * i;
        tables[file.substr(entry, 4)] =
            file.substr(NumberAt(file, entry + 8, 4), NumberAt(file, entry + 12, 4));
    }
    return tables;
}

// The checksums and the search fields stay zero: nobody reads them.
inline std::string FileOf(const std::map<std::string, std::string>& tables) {
    const auto count = static_cast<std::uint32_t>(tables.size());
    std::string head = BigEndian(0x10000, 4) + BigEndian(count, 2) + BigEndian(0, 6), body;
    for (const auto& [name, table] : tables) {
        const auto size = static_cast<std::uint32_t>(table.size());
        const auto offset = static_cast<std::uint32_t>(12 + 16 * count + body.size());
        head += name + BigEndian(0, 4) + BigEndian(offset, 4) + BigEndian(size, 4);
        body += table + std::string(-table.size() % 4, '\0');
    }
    return head + body;
}

// For every aspect: at 11 pixels an em, 11 above the line and 3 below.
inline std::string HeightsOfArial() {
    const std::string ratio = BigEndian(0x01000000, 4), offset = BigEndian(12, 2);
    const std::string group = BigEndian(1, 2) + BigEndian(11, 1) + BigEndian(11, 1);
    return BigEndian(0, 2) + BigEndian(1, 2) + BigEndian(1, 2) + ratio + offset + group +
           BigEndian(11, 2) + BigEndian(11, 2) + BigEndian(0x10000 - 3, 2);
}

// Family, style and full name, in English for Windows.
inline std::string NamesOf(const std::string& style) {
    std::string records, texts;
    for (const auto& [id, name] :
         std::map<int, std::string>{{1, "Arial"}, {2, style}, {4, "Arial " + style}}) {
        records += BigEndian(0x00030001, 4) + BigEndian(0x0409, 2) +
                   BigEndian(static_cast<std::uint32_t>(id), 2) +
                   BigEndian(static_cast<std::uint32_t>(2 * name.size()), 2) +
                   BigEndian(static_cast<std::uint32_t>(texts.size()), 2);
        for (const char character : name)
            texts += BigEndian(static_cast<std::uint8_t>(character), 2);
    }
    return BigEndian(0, 2) + BigEndian(3, 2) + BigEndian(6 + 36, 2) + records + texts;
}

// The file of the font that replaces Arial of that weight.
inline std::string FileBehindArial(int weight) {
    const HDC context = CreateCompatibleDC(nullptr);
    const HFONT font = CreateFontA(-11, 0, 0, 0, weight, 0, 0, 0, 0, 0, 0, 0, 0, "Arial");
    const HGDIOBJ before = SelectObject(context, font);
    std::string file(GetFontData(context, 0, 0, nullptr, 0), '\0');
    GetFontData(context, 0, 0, file.data(), static_cast<DWORD>(file.size()));
    SelectObject(context, before);
    DeleteObject(font);
    DeleteDC(context);
    return file;
}

// For this process, until it ends. A font that has the table stays as it is. Both files are read
// before the first is added, which would replace the other one.
inline void UseArialOfWindows() {
    for (const auto& [style, font] : std::map<std::string, std::string>{
             {"Regular", FileBehindArial(FW_NORMAL)}, {"Bold", FileBehindArial(FW_BOLD)}}) {
        std::map<std::string, std::string> tables = TablesOf(font);
        if (!tables.try_emplace("VDMX", HeightsOfArial()).second)
            continue;
        tables["name"] = NamesOf(style);
        std::string file = FileOf(tables);
        DWORD added = 0;
        AddFontMemResourceEx(file.data(), static_cast<DWORD>(file.size()), nullptr, &added);
    }
}

} // namespace page_test
