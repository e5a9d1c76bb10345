// The catalog against the program's own string table, and against tables that are not as they
// should be.

#include "frame/catalog.h"

#include "testing/page_test.h"

#include <cstdint>
#include <map>

namespace {

using page_test::CompiledResources;
using page_test::UseResources;
using page_test::Utf8;

constexpr unsigned FirstId = 11011, LastId = 11166;
constexpr unsigned CutText = 11129;

// In characters, terminator included.
const std::map<unsigned, std::size_t> Capacities = {
    {11011, 100}, {11012, 50},  {11013, 50},  {11014, 50},  {11018, 50},  {11028, 100},
    {11029, 256}, {11030, 500}, {11031, 100}, {11033, 256}, {11035, 100}, {11036, 456},
    {11037, 350}, {11038, 400}, {11039, 120}, {11041, 100}, {11042, 50},  {11043, 50},
    {11044, 50},  {11046, 100}, {11047, 100}, {11048, 20},  {11049, 100}, {11050, 300},
    {11051, 100}, {11052, 100}, {11053, 100}, {11054, 100}, {11055, 50},  {11056, 50},
    {11057, 150}, {11058, 100}, {11059, 256}, {11060, 350}, {11061, 500}, {11062, 300},
    {11063, 300}, {11066, 256}, {11067, 256}, {11069, 650}, {11070, 50},  {11074, 100},
    {11075, 100}, {11076, 256}, {11077, 256}, {11078, 256}, {11079, 256}, {11080, 900},
    {11081, 400}, {11082, 256}, {11083, 256}, {11084, 256}, {11085, 256}, {11086, 256},
    {11088, 256}, {11089, 500}, {11090, 256}, {11091, 256}, {11092, 500}, {11093, 500},
    {11094, 300}, {11095, 300}, {11096, 256}, {11097, 256}, {11098, 256}, {11099, 50},
    {11100, 50},  {11101, 100}, {11102, 200}, {11103, 20},  {11104, 256}, {11106, 100},
    {11107, 100}, {11108, 500}, {11109, 300}, {11110, 256}, {11112, 256}, {11113, 256},
    {11114, 256}, {11115, 300}, {11116, 500}, {11117, 256}, {11118, 256}, {11119, 256},
    {11120, 300}, {11121, 350}, {11122, 256}, {11124, 256}, {11125, 350}, {11126, 256},
    {11127, 360}, {11128, 256}, {11129, 100}, {11130, 50},  {11131, 50},  {11134, 100},
    {11135, 300}, {11138, 50},  {11139, 50},  {11140, 50},  {11141, 50},  {11142, 50},
    {11143, 50},  {11144, 50},  {11145, 50},  {11146, 50},  {11147, 200}, {11148, 70},
    {11149, 200}, {11150, 500}, {11155, 200}, {11156, 650}, {11159, 200}, {11160, 200},
    {11166, 20},
};

void Append(std::string& bytes, std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i)
        bytes.push_back(static_cast<char>(value >> (8 * i)));
}

// A resource file whose string table holds the same text under every number, in the published
// format: blocks of 16 counted UTF-16 strings, block number 1 + id / 16.
std::string TableOf(const std::u16string& text) {
    std::string file;
    for (std::uint32_t word : {0u, 32u, 0xFFFFu, 0xFFFFu, 0u, 0u, 0u, 0u})
        Append(file, word, 4);
    for (unsigned block = FirstId / 16; block <= LastId / 16; ++block) {
        std::string data;
        for (int i = 0; i < 16; ++i) {
            Append(data, static_cast<std::uint32_t>(text.size()), 2);
            for (char16_t unit : text)
                Append(data, unit, 2);
        }
        const std::uint32_t type = 0xFFFF | 6u << 16, name = 0xFFFF | (block + 1) << 16;
        for (std::uint32_t word :
             {static_cast<std::uint32_t>(data.size()), 32u, type, name, 0u, 0x1030u, 0u, 0u})
            Append(file, word, 4);
        file += data;
        file.resize((file.size() + 3) / 4 * 4);
    }
    return file;
}

std::string StoredText(unsigned id) {
    char text[4096];
    const int length = LoadStringA(nullptr, id, text, sizeof(text));
    return std::string(text, static_cast<std::size_t>(length));
}

TEST(Catalog, every_entry_holds_the_whole_text_of_the_string_table_but_for_one) {
    UseResources(CompiledResources());
    LoadMessageCatalog();
    for (const auto& [id, capacity] : Capacities) {
        const std::string stored = StoredText(id);
        EXPECT_FALSE(stored.empty()) << id;
        EXPECT_EQ(stored.size() >= capacity, id == CutText) << id;
        EXPECT_EQ(stored.substr(0, capacity - 1), CatalogText(id)) << id;
    }
}

TEST(Catalog, the_question_for_the_link_ends_after_its_99th_character) {
    UseResources(CompiledResources());
    LoadMessageCatalog();
    const std::string text = CatalogText(CutText);
    EXPECT_EQ(156u, StoredText(CutText).size());
    EXPECT_EQ(99u, text.size());
    EXPECT_TRUE(Utf8(text.c_str()).ends_with("Une sélec")) << Utf8(text.c_str());
}

TEST(Catalog, a_text_that_is_too_long_is_cut_to_its_entry_and_harms_no_other) {
    const std::string table = TableOf(std::u16string(2000, u'\xE9'));
    UseResources(table);
    LoadMessageCatalog();
    for (const auto& [id, capacity] : Capacities)
        EXPECT_EQ(std::string(capacity - 1, '\xE9'), CatalogText(id)) << id;
    UseResources(CompiledResources());
}

TEST(Catalog, a_number_is_empty_that_has_no_entry_or_no_text_in_the_table) {
    const std::string table = TableOf(u"text");
    UseResources(table);
    LoadMessageCatalog();
    for (unsigned id = FirstId - 2; id <= LastId + 2; ++id)
        EXPECT_STREQ(Capacities.contains(id) ? "text" : "", CatalogText(id)) << id;
    EXPECT_STREQ("", CatalogText(0));
    EXPECT_STREQ("", CatalogText(0xFFFFFFFF));
    const std::string nothing = TableOf(u"");
    UseResources(nothing);
    LoadMessageCatalog();
    for (const auto& [id, capacity] : Capacities)
        EXPECT_STREQ("", CatalogText(id)) << id;
    UseResources(CompiledResources());
}

TEST(Catalog, names_of_languages_follow_the_folder_name_and_are_english_for_any_other) {
    UseResources(CompiledResources());
    LoadMessageCatalog();
    const std::map<std::string, std::string> names = {
        {"English", "Anglais"},
        {"French", "Français"},
        {"German", "Allemand"},
        {"Italian", "Italien"},
        {"Spanish", "Espagnol"},
        {"TChinese", "Chinois traditionnel"},
        {"SChinese", "Chinois simplifié"},
        {"Japanese", "Japonais"},
        {"jAPANESE", "Japonais"},
        {"Chinese", "Anglais"},
        {"", "Anglais"},
    };
    for (const auto& [folder, name] : names)
        EXPECT_EQ(name, Utf8(LanguageNameText(folder.c_str()))) << folder;
}

} // namespace
