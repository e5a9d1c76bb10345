// The header of image files and their checksum, where the content is not the point: that is for
// tests/fuzz/image_header.cpp.

#include "images/checksum.h"
#include "images/header.h"

#include "state/handles.h"
#include "testing/wizard_fixture.h"

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

TEST_F(ImageHeader, of_a_missing_file_or_a_folder_is_none) {
    EXPECT_FALSE(LoadImageHeader(WindowsPathOf(Folder() / "none.nbf").c_str(), &State.Image));
    EXPECT_FALSE(LoadImageHeader(WindowsPathOf(Folder()).c_str(), &State.Image));
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
