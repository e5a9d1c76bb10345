// The catalog against the program's own string table, and against tables that are not as they
// should be.

#include "frame/catalog.h"

#include "testing/page_test.h"

#include <cstdint>
#include <iterator>
#include <map>
#include <utility>

namespace {

using page_test::CompiledResources;
using page_test::UseResources;
using page_test::Utf8;

constexpr unsigned FirstId = 11011, LastId = 11166;
constexpr unsigned CutText = 11129;

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

class Catalog : public testing::Test {
protected:
    void SetUp() override { Load(CompiledResources()); }
    void TearDown() override { UseResources(CompiledResources()); }

    // The bytes have to outlive the test, or another table has to follow.
    static void Load(const std::string& table) {
        UseResources(table);
        LoadMessageCatalog();
    }
};

// The numbers that the program's own table has a text for, with those texts.
std::map<unsigned, std::string> StoredTexts() {
    std::map<unsigned, std::string> texts;
    for (unsigned id = FirstId - 2; id <= LastId + 2; ++id) {
        char text[4096];
        const int length = LoadStringA(nullptr, id, text, sizeof(text));
        if (length > 0)
            texts[id] = std::string(text, static_cast<std::size_t>(length));
    }
    return texts;
}

TEST_F(Catalog, has_the_whole_of_every_text_but_one_which_ends_after_its_99th_character) {
    std::map<unsigned, std::string> texts = StoredTexts();
    EXPECT_EQ(LastId, texts.rbegin()->first);
    EXPECT_EQ(156u, texts[CutText].size());
    texts[CutText].resize(99);
    EXPECT_TRUE(Utf8(texts[CutText].c_str()).ends_with("Une sélec"));
    for (const auto& [id, text] : texts)
        EXPECT_EQ(text, CatalogText(id)) << id;
}

TEST_F(Catalog, a_text_that_is_too_long_is_cut_and_harms_no_other) {
    const auto texts = StoredTexts();
    const std::string table = TableOf(std::u16string(2000, u'\xE9'));
    Load(table);
    std::map<const char*, std::size_t> sizes; // by where the text is, the terminator included
    for (const auto& [id, text] : texts) {
        const std::string cut = CatalogText(id);
        EXPECT_EQ(std::string::npos, cut.find_first_not_of('\xE9')) << id;
        EXPECT_GE(cut.size(), id == CutText ? 99 : text.size()) << id;
        sizes[CatalogText(id)] = cut.size() + 1;
    }
    EXPECT_EQ(texts.size(), sizes.size());
    for (auto text = sizes.begin(), next = std::next(text); next != sizes.end(); text = next++)
        EXPECT_LE(text->first + text->second, next->first);
}

TEST_F(Catalog, a_number_without_an_entry_or_without_a_text_in_the_table_is_empty) {
    const auto texts = StoredTexts();
    for (const char16_t* text : {u"text", u""}) {
        const std::string table = TableOf(text);
        Load(table);
        for (unsigned id = FirstId - 2; id <= LastId + 2; ++id)
            EXPECT_STREQ(*text && texts.contains(id) ? "text" : "", CatalogText(id)) << id;
        UseResources(CompiledResources());
    }
    EXPECT_STREQ("", CatalogText(0));
    EXPECT_STREQ("", CatalogText(0xFFFFFFFF));
}

TEST_F(Catalog, names_of_languages_follow_the_folder_name_and_are_english_for_any_other) {
    const std::pair<const char*, const char*> names[] = {
        {"English", "Anglais"},   {"French", "Français"},   {"German", "Allemand"},
        {"Italian", "Italien"},   {"Spanish", "Espagnol"},  {"TChinese", "Chinois traditionnel"},
        {"Japanese", "Japonais"}, {"jAPANESE", "Japonais"}, {"SChinese", "Chinois simplifié"},
        {"Chinese", "Anglais"},   {"", "Anglais"}};
    for (const auto& [folder, name] : names)
        EXPECT_EQ(name, Utf8(LanguageNameText(folder))) << folder;
}

} // namespace
