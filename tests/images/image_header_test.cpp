// The header of image files and their checksum, on files as they come.

#include "images/checksum.h"
#include "images/header.h"

#include "state/handles.h"
#include "testing/wizard_fixture.h"

#include <bit>
#include <limits>
#include <numeric>
#include <vector>

#include <sys/mman.h>

namespace {

class ImageHeader : public WizardTest {
protected:
    bool Read(const std::string& header) {
        const auto path = Folder() / "image.nbf";
        WriteFileBytes(path, header);
        return LoadImageHeader(WindowsPathOf(path).c_str(), &State.Image);
    }
};

TEST_F(ImageHeader, gives_its_fields) {
    ASSERT_TRUE(Read("AAAAAAAAA-ENG-1.14-567----------abc"));
    EXPECT_STREQ("AAAAAAAAA", State.Image.ImageModel);
    EXPECT_STREQ("ENG", State.Image.ImageLanguage);
    EXPECT_STREQ("1.14", State.Image.ImageVersionText);
    EXPECT_EQ(1.14F, State.Image.ImageVersion);
    EXPECT_STREQ("567", State.Image.ImageChecksumText);
    EXPECT_STREQ("English", State.Image.ImageLanguageName);
}

TEST_F(ImageHeader, checksum_text_replaces_the_one_before_and_ends_at_the_fill) {
    const std::pair<const char*, const char*> cases[] = {
        {"ffff---------", "ffff"}, {"abc----------", "abc"}, {"0------------", "0"},
        {"-123---------", "-123"}, {"--3----------", "-"},   {"ABCDE--------", "ABCD"},
        {"12 4---------", "12 4"}, {"1-4----------", "1"},
    };
    for (const auto& [field, text] : cases) {
        ASSERT_TRUE(Read("AAAAAAAAA-ENG-1.14-" + std::string(field)));
        EXPECT_STREQ(text, State.Image.ImageChecksumText) << field;
    }
}

TEST_F(ImageHeader, language_is_found_in_any_case_and_an_unknown_one_leaves_the_name) {
    const std::pair<const char*, const char*> cases[] = {
        {"cht", "TChinese"}, {"XYZ", "TChinese"}, {"JPN", "Japanese"}, {"Fre", "French"},
        {"CHS", "SChinese"}, {"GER", "German"},   {"ITA", "Italian"},  {"SPA", "Spanish"},
    };
    for (const auto& [code, name] : cases) {
        ASSERT_TRUE(Read("AAAAAAAAA-" + std::string(code) + "-1.14-0------------"));
        EXPECT_STREQ(name, State.Image.ImageLanguageName) << code;
    }
}

TEST_F(ImageHeader, of_a_short_or_missing_file_is_none_and_changes_nothing) {
    ASSERT_TRUE(Read("AAAAAAAAA-ENG-1.14-567----------"));
    EXPECT_FALSE(Read("BBBBBBBBB-FRE-2.00-123---------")); // 31 bytes
    const std::string path = WindowsPathOf(Folder() / "image.nbf");
    EXPECT_FALSE(SumImage(OpenForReading(path.c_str()).Get()));
    EXPECT_FALSE(Read(""));
    EXPECT_FALSE(LoadImageHeader(WindowsPathOf(Folder() / "none.nbf").c_str(), &State.Image));
    EXPECT_FALSE(LoadImageHeader(WindowsPathOf(Folder()).c_str(), &State.Image));
    EXPECT_STREQ("AAAAAAAAA", State.Image.ImageModel);
    EXPECT_STREQ("567", State.Image.ImageChecksumText);
}

TEST(VersionNumber, reads_plain_decimals_to_the_nearest_32_bits) {
    EXPECT_EQ(0x3FB33333U, std::bit_cast<std::uint32_t>(VersionNumber("1.40")));
    EXPECT_EQ(0x3FB47AE1U, std::bit_cast<std::uint32_t>(VersionNumber("1.41")));
    EXPECT_EQ(0x3FCCCCCDU, std::bit_cast<std::uint32_t>(VersionNumber("1.60")));
    const std::pair<const char*, float> cases[] = {
        {"2", 2.0F},
        {"1..2", 1.0F},
        {"1.2a", 1.2F},
        {"", 0.0F},
        {"abcd", 0.0F},
        {"nan", 0.0F},
        {"inf", 0.0F},
        {".5", 0.5F},
        {"1,14", 1.0F},
        {" 1.6", 1.6F},
        {"+2.0", 2.0F},
        {"1e1", 10.0F},
        {"+-2", 0.0F},
        {"-1", -1.0F},
        {"0x9", 0.0F},
        {"1e+", 1.0F},
        {"9e99", std::numeric_limits<float>::max()},
    };
    for (const auto& [text, number] : cases)
        EXPECT_EQ(number, VersionNumber(text)) << text;
}

TEST(ChecksumText, with_a_character_that_is_no_digit_has_no_value) {
    EXPECT_EQ(0x567, ParseChecksumText("567"));
    EXPECT_EQ(0xABCD, ParseChecksumText("aBcD"));
    EXPECT_EQ(0, ParseChecksumText("0"));
    EXPECT_EQ(0xFFFF, ParseChecksumText("ffff"));
    for (const char* text : {"", "-", "12g4", "5 7", "0x5", "/", ":", "@", "G", "`", "g"})
        EXPECT_FALSE(ParseChecksumText(text)) << text;
}

TEST(ByteSum, adds_unsigned_bytes_modulo_65536_for_every_length) {
    std::vector<std::uint8_t> bytes(3 * 4096 + 7);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(255 - i * i % 97);
    for (const std::size_t length : {0UL, 1UL, 257UL, 4095UL, 4096UL, 4097UL, bytes.size()}) {
        const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(length);
        const auto sum = std::accumulate(bytes.begin(), end, std::uint32_t{0});
        EXPECT_EQ(sum & 0xFFFF, ByteSum({bytes.data(), length})) << length;
    }
}

// The memory of this process, read as a file: behind the header comes a page that is not there.
TEST(SumOfFile, that_cannot_be_read_to_its_end_is_none) {
    constexpr std::size_t Page = 0x10000;                  // a whole number of pages of any host
    void* const low = reinterpret_cast<void*>(0x10000000); // where a seek of 31 bits comes
    void* const memory =
        mmap(low, 2 * Page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_EQ(low, memory);
    munmap(static_cast<char*>(memory) + Page, Page);
    const LONG header = 0x10000000 + Page - 32;
    const OwnedFile file = OpenForReading("Z:\\proc\\self\\mem");
    const auto number = static_cast<HFILE>(reinterpret_cast<std::intptr_t>(file.Get()));
    ASSERT_EQ(header, _llseek(number, header, FILE_BEGIN));
    EXPECT_FALSE(SumImage(file.Get()));
    munmap(memory, Page);
}

} // namespace
