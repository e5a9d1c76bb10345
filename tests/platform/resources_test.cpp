// Resources as the distribution's compiler writes them, and what comes of a file that is cut off.

#include "platform/base/text.h"
#include "platform/windows/dialog_template.h"
#include "platform/windows/drawing.h"
#include "tests/platform/window_support.h"

#include <algorithm>

using namespace window_support;
using namespace platform;

namespace {

constexpr char Script[] = R"(#include <windows.h>
LANGUAGE 12, 1
STRINGTABLE
BEGIN
  11011 "Annuler"
  11055 "Mettre à niveau"
  11056 "Œuvre à 5 €"
  11131 "Série :"
END
101 DIALOGEX 7, 9, 421, 196
STYLE WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME
CAPTION "Première"
FONT 8, "Arial", 700, 1, 238
BEGIN
  DEFPUSHBUTTON "&Suivant", 1, 300, 175, 50, 14
  LTEXT "Ligne", -1, 171, 10, 200, 8
  CONTROL "", 1020, "msctls_progress32", WS_BORDER, 10, 40, 200, 12
  AUTORADIOBUTTON "USB", 1150, 171, 60, 60, 10, WS_TABSTOP
END
127 BITMAP "assets/usb.bmp"
150 ICON "assets/wizard.ico"
)";

class Resources : public testing::Test {
protected:
    Resources() : bytes_(CompileScript(Script)) { UseBytes(bytes_); }

    std::string Load(UINT id, int capacity) {
        std::string buffer(static_cast<std::size_t>(capacity) + 1, '#');
        int length = LoadStringA(nullptr, id, buffer.data(), capacity);
        EXPECT_EQ(buffer[static_cast<std::size_t>(length)], '\0');
        EXPECT_EQ(buffer.back(), '#') << "written past the capacity";
        return buffer.substr(0, static_cast<std::size_t>(length));
    }

    std::vector<char> bytes_;
};

} // namespace

TEST_F(Resources, strings_come_in_the_ansi_code_page_and_are_cut_to_the_buffer) {
    EXPECT_EQ(Load(11011, 100), "Annuler");
    EXPECT_EQ(Load(11055, 50), "Mettre \xE0 niveau");
    EXPECT_EQ(Load(11056, 50), "\x8Cuvre \xE0 5 \x80");
    EXPECT_EQ(Load(11131, 50), "S\xE9rie\xA0:");
    EXPECT_EQ(Load(11055, 9), "Mettre \xE0");
    EXPECT_EQ(Load(11055, 1), "");
    EXPECT_EQ(Load(11012, 50), "") << "an id in the same block that has no text";
    EXPECT_EQ(Load(40000, 50), "");
    char untouched = '#';
    EXPECT_EQ(LoadStringA(nullptr, 11011, &untouched, 0), 0);
    EXPECT_EQ(untouched, '#');
}

TEST_F(Resources, a_dialog_template_gives_its_sizes_texts_and_controls) {
    const auto bytes = FindResourceData(DialogResource, 101);
    ASSERT_TRUE(bytes);
    const auto dialog = ReadDialogTemplate(*bytes);
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->width, 421);
    EXPECT_EQ(dialog->height, 196);
    EXPECT_EQ(dialog->title, "Premi\xE8re");
    EXPECT_EQ(dialog->pointSize, 8);
    EXPECT_EQ(dialog->typeface, "Arial");
    EXPECT_EQ(dialog->weight, 700);
    ASSERT_EQ(dialog->controls.size(), 4u);
    EXPECT_EQ(dialog->controls[0].className, "button");
    EXPECT_EQ(dialog->controls[0].style & BS_TYPEMASK, DWORD{BS_DEFPUSHBUTTON});
    EXPECT_EQ(dialog->controls[1].id, -1);
    EXPECT_EQ(dialog->controls[1].text, "Ligne");
    EXPECT_EQ(CompareAnsiNoCase(dialog->controls[2].className, "msctls_progress32"), 0);
    EXPECT_EQ(dialog->controls[3].x, 171);
    EXPECT_EQ(PixelsAcross(171), 257); // rounded, as MulDiv does
    EXPECT_EQ(PixelsAcross(170), 255);
    EXPECT_EQ(PixelsDown(13), 23);
}

TEST_F(Resources, pictures_have_their_real_sizes_and_stay_while_they_are_selected) {
    HBITMAP bitmap = LoadBitmapA(nullptr, MAKEINTRESOURCEA(127));
    BITMAP size = {};
    ASSERT_EQ(GetObjectA(bitmap, sizeof(size), &size), int{sizeof(size)});
    EXPECT_EQ(size.bmWidth, 119);
    EXPECT_EQ(size.bmHeight, 74);
    HDC screen = CreateDCA("DISPLAY", nullptr, nullptr, nullptr);
    HDC memory = CreateCompatibleDC(screen);
    HGDIOBJ before = SelectObject(memory, bitmap);
    EXPECT_NE(before, nullptr);
    EXPECT_FALSE(DeleteObject(bitmap));
    EXPECT_EQ(SelectObject(memory, before), bitmap);
    EXPECT_TRUE(DeleteObject(bitmap));
    EXPECT_FALSE(DeleteObject(bitmap));
    EXPECT_TRUE(DeleteDC(memory));
    EXPECT_TRUE(DeleteDC(screen));
    EXPECT_EQ(DrawingObjectCount(), 0);
    EXPECT_EQ(LoadBitmapA(nullptr, MAKEINTRESOURCEA(128)), nullptr);
    HINSTANCE program = reinterpret_cast<HINSTANCE>(std::uintptr_t{0x400000});
    EXPECT_NE(LoadIconA(program, MAKEINTRESOURCEA(150)), nullptr);
    EXPECT_EQ(LoadIconA(program, MAKEINTRESOURCEA(151)), nullptr);
}

TEST_F(Resources, a_file_that_is_cut_off_or_damaged_does_no_harm) {
    auto tryAll = [](const std::vector<char>& bytes) {
        UseBytes(bytes);
        char buffer[50];
        LoadStringA(nullptr, 11131, buffer, sizeof(buffer));
        if (auto data = FindResourceData(DialogResource, 101))
            ReadDialogTemplate(*data);
        if (HBITMAP bitmap = LoadBitmapA(nullptr, MAKEINTRESOURCEA(127)))
            DeleteObject(bitmap);
    };
    for (std::size_t size = 0; size < bytes_.size(); size += size < 2000 ? 1 : 97)
        tryAll(std::vector<char>(bytes_.begin(), bytes_.begin() + static_cast<long>(size)));
    for (std::size_t i = 0; i < std::min<std::size_t>(bytes_.size(), 2000); ++i) {
        std::vector<char> damaged = bytes_;
        damaged[i] = static_cast<char>(~damaged[i]);
        tryAll(damaged);
    }
}
