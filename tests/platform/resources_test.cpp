// Resources as the distribution's compiler writes them.

#include "platform/windows/drawing.h"
#include "tests/platform/window_support.h"

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
END
101 DIALOGEX 7, 9, 421, 196
CAPTION "Première"
FONT 8, "Arial", 700, 1, 238
BEGIN
  LTEXT "Ligne", -1, 171, 10, 200, 8
END
127 BITMAP "usb.bmp"
)";

class Resources : public testing::Test {
protected:
    Resources() : bytes_(CompileScript(Script)) { UseBytes(bytes_); }

    const std::string bytes_;
};

} // namespace

TEST_F(Resources, strings_come_in_the_ansi_code_page_and_are_cut_to_the_buffer) {
    struct {
        UINT id;
        int capacity;
        const char* text;
    } const cases[] = {
        {11011, 50, "Annuler"},
        {11055, 50, "Mettre \xE0 niveau"},
        {11056, 50, "\x8Cuvre \xE0 5 \x80"},
        {11055, 9, "Mettre \xE0"},
        {11055, 1, ""},
        {11012, 50, ""}, // of the same block, without a text
        {40000, 50, ""},
    };
    for (const auto& [id, capacity, text] : cases) {
        std::string buffer(static_cast<std::size_t>(capacity) + 1, '#');
        const int length = LoadStringA(nullptr, id, buffer.data(), capacity);
        EXPECT_STREQ(buffer.c_str(), text) << id;
        EXPECT_EQ(static_cast<std::size_t>(length), std::string(text).size());
        EXPECT_EQ(buffer.back(), '#') << "written past the capacity";
    }
}

TEST_F(Resources, pictures_stay_while_they_are_selected) {
    const HBITMAP bitmap = LoadBitmapA(nullptr, MAKEINTRESOURCEA(127));
    const HDC screen = CreateDCA("DISPLAY", nullptr, nullptr, nullptr);
    const HDC memory = CreateCompatibleDC(screen);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    EXPECT_NE(before, nullptr);
    EXPECT_FALSE(DeleteObject(bitmap));
    EXPECT_EQ(SelectObject(memory, before), bitmap);
    EXPECT_TRUE(DeleteObject(bitmap));
    EXPECT_TRUE(DeleteDC(memory) && DeleteDC(screen));
    EXPECT_EQ(DrawingObjectCount(), 0);
    EXPECT_EQ(LoadBitmapA(nullptr, MAKEINTRESOURCEA(128)), nullptr);
}
