// The header of image files and their checksum, where the content is not the point: that is for
// tests/fuzz/image_header.cpp.

#include "images/checksum.h"
#include "images/header.h"

#include "state/handles.h"
#include "testing/wizard_fixture.h"

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

} // namespace
