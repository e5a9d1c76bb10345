// Which file of a folder tree is the image, with real folders.

#include "images/discovery.h"

#include "device/language_folder.h"
#include "images/header.h"
#include "pages/image_steps.h"
#include "testing/wizard_fixture.h"

namespace {

class Discovery : public WizardTest {
protected:
    static std::string TreePath(const std::string& rest) {
        return WindowsPathOf(Home().Tree()) + "\\" + rest;
    }
};

TEST_F(Discovery, takes_the_first_file_whose_name_ends_in_nbf) {
    std::filesystem::create_directory(Folder() / "a.nbf");
    WriteFileBytes(Folder() / "b.nbfx", "no image");
    WriteFileBytes(Folder() / "bf", "no image");
    WriteFileBytes(Folder() / "c_NbF", "an image");
    WriteFileBytes(Folder() / "d.nbf", "a second one");
    EXPECT_TRUE(FindDefaultImage());
    EXPECT_EQ(TreePath("English\\c_NbF"), State.Paths.ImagePath);
    EXPECT_EQ(TreePath("English\\c_NbF"), State.Paths.DefaultImagePath);
    EXPECT_EQ(8U, FindFolderImageSize());
}

TEST_F(Discovery, finds_nothing_in_a_folder_that_holds_no_image_or_is_none) {
    WriteFileBytes(Folder() / "readme.doc", "no image");
    EXPECT_FALSE(FindDefaultImage());
    SetText(State.Paths.LanguageFolder, "Klingon");
    EXPECT_FALSE(FindDefaultImage());
    EXPECT_EQ(0U, FindFolderImageSize());
    EXPECT_STREQ("", State.Paths.DefaultImagePath);
    State.Paths.AppDirectory[0] = '\0'; // it could not be read: the root of the drive is no tree
    SetText(State.Paths.LanguageFolder, "usr");
    EXPECT_FALSE(ForEachFolderFile([](const WIN32_FIND_DATAA&) { return true; }));
}

TEST_F(Discovery, language_chooses_the_folder_and_measures_its_image) {
    WriteFileBytes(Home().Tree() / "TChinese" / "x.nbf", std::string(3 * 1024 + 1023, 'x'));
    SetText(State.Handheld.DeviceLanguage, "cht");
    ChooseLanguageFolder();
    EXPECT_STREQ("TChinese", State.Paths.LanguageFolder);
    EXPECT_EQ(3U, State.Image.ImageSizeKB);
}

TEST_F(Discovery, unknown_language_leaves_folder_and_size_as_they_were) {
    SetText(State.Handheld.DeviceLanguage, "XYZ");
    State.Image.ImageSizeKB = 77;
    ChooseLanguageFolder();
    EXPECT_STREQ("English", State.Paths.LanguageFolder);
    EXPECT_EQ(77U, State.Image.ImageSizeKB);
    State.Paths.LanguageFolder[0] = '\0'; // then the tree's root is searched
    WriteFileBytes(Home().Tree() / "root.nbf", "image");
    EXPECT_TRUE(FindDefaultImage());
    EXPECT_EQ(TreePath("\\root.nbf"), State.Paths.ImagePath);
    EXPECT_EQ(5U, SizeOfFile(State.Paths.ImagePath));
}

TEST_F(Discovery, language_of_an_image_is_found_in_any_case_and_an_unknown_one_leaves_the_name) {
    const std::pair<const char*, const char*> cases[] = {
        {"cht", "TChinese"}, {"XYZ", "TChinese"}, {"JPN", "Japanese"}, {"Fre", "French"},
        {"CHS", "SChinese"}, {"GER", "German"},   {"ITA", "Italian"},  {"SPA", "Spanish"},
    };
    for (const auto& [code, name] : cases) {
        WriteFileBytes(Folder() / "x.nbf",
                       std::string("AAAAAAAAA-") + code + "-1.14-0------------");
        ASSERT_TRUE(LoadImageHeader(TreePath("English\\x.nbf").c_str(), &State.Image));
        EXPECT_STREQ(name, State.Image.ImageLanguageName) << code;
    }
    WriteFileBytes(Folder() / "x.nbf", "AAAAAAAAA-ENG-1.14-" + std::string(13, '\0'));
    ASSERT_TRUE(LoadImageHeader(TreePath("English\\x.nbf").c_str(), &State.Image));
    EXPECT_FALSE(ParseChecksumText(State.Image.ImageChecksumText));
}

TEST_F(Discovery, image_whose_path_is_too_long_is_missing_rather_than_cut) {
    const std::size_t nameLength = 259 - TreePath("English\\").size();
    const std::string fits = std::string(nameLength - 4, 'f') + ".nbf";
    WriteFileBytes(Folder() / fits, "image");
    ASSERT_TRUE(FindDefaultImage());
    EXPECT_EQ(TreePath("English\\" + fits), State.Paths.ImagePath);
    std::filesystem::rename(Folder() / fits, Folder() / ("f" + fits));
    EXPECT_FALSE(FindDefaultImage());
}

TEST_F(Discovery, size_of_a_file_is_its_64_bits_and_of_one_that_has_vanished_is_none) {
    EXPECT_FALSE(SizeOfFile(TreePath("English\\gone.nbf").c_str()));
    WriteFileBytes(Folder() / "empty.nbf", "");
    EXPECT_EQ(0U, SizeOfFile(TreePath("English\\empty.nbf").c_str()));
    std::filesystem::resize_file(Folder() / "empty.nbf", 0x100000007); // sparse
    EXPECT_EQ(0x100000007U, SizeOfFile(TreePath("English\\empty.nbf").c_str()));
    std::filesystem::resize_file(Folder() / "empty.nbf", 0xFFFFFFFF); // the value of a failure
    EXPECT_EQ(0xFFFFFFFFU, SizeOfFile(TreePath("English\\empty.nbf").c_str()));
}

} // namespace
