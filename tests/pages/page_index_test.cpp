// All pages against tests/pages/pages.txt, which says of each what is on the screen, control by
// control, and what its commands give and do. A page that changes changes that file; what the test
// has seen is left as pages.txt in the build folder, to be read before it is taken over.

#include "link/port.h"
#include "pages/duration_texts.h"
#include "platform/windows/drawing.h"
#include "state/progress_record.h"
#include "testing/page_test.h"

#include <fstream>
#include <sstream>

namespace {

using namespace page_test;

std::string OnOneLine(std::string text) {
    for (std::size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos;)
        text.replace(at, 2, "\\n");
    return text;
}

// [1152] and its text, with what sets it apart: another font, colours of its own (0xBBGGRR), grey,
// marked.
std::string Describe(const ControlView& control) {
    std::ostringstream line;
    line << "[" << control.id << "]";
    const LOGFONTA& font = control.font;
    if (font.lfHeight != -11 || font.lfWeight != 400 || std::string(font.lfFaceName) != "Arial")
        line << " {" << font.lfFaceName << " " << font.lfHeight << "/" << font.lfWeight << "}";
    const platform::PaintResult none = platform::UnpaintedColours();
    if (control.painted.textColour != none.textColour ||
        control.painted.background != none.background)
        line << std::hex << " {0x" << control.painted.textColour << " on 0x"
             << control.painted.background << "}" << std::dec;
    line << (control.enabled ? "" : " {grey}") << (control.checked ? " {marked}" : "")
         << (control.isDefault ? " {default}" : "") << " " << OnOneLine(control.text) << "\n";
    return line.str();
}

// The resource that was painted, whole.
std::string NameOf(const platform::PaintedPicture& painted) {
    for (const int id : {IDB_BANNER, IDB_RESET, IDB_USB, IDB_SERIAL, IDB_POWER_SWITCH}) {
        const auto resource =
            platform::FindResourceData(platform::BitmapResource, static_cast<std::uint16_t>(id));
        if (resource && resource->data() == painted.picture->bitmap.data() &&
            painted.width == painted.picture->width && painted.height == painted.picture->height)
            return std::to_string(id);
    }
    return "part of a picture, or none of ours";
}

// The fresh page tells where the focus goes, the page at its end all else.
std::string Describe(const ShownPage& shown, const PageView& fresh, const PageView& page) {
    std::ostringstream lines;
    lines << "== " << page.id << shown.state << " ==  " << page.title << "\n";
    for (const ControlView& control : page.controls)
        lines << Describe(control);
    for (const platform::PaintedPicture& painted : page.pictures)
        lines << "picture " << NameOf(painted) << " at " << painted.x << "," << painted.y << "\n";
    for (const ControlView& control : fresh.controls)
        lines << (control.hasFocus ? "focus on " + std::to_string(control.id) + "\n" : "");
    return lines.str();
}

// The numbers of the texts of each family of durations, by language folder and link.
std::string Durations() {
    std::ostringstream lines;
    lines << "== durations ==\n";
    for (const char* folder : {"English", "French", "German", "Italian", "Spanish", "fRENCH",
                               "Japanese", "TChinese", "SChinese", "", "Frenc"}) {
        for (const bool serial : {true, false}) {
            lines << "\"" << folder << "\" " << (serial ? "serial" : "usb");
            for (const DurationFamily family :
                 {DurationFamily::BackupChoice, DurationFamily::Backup,
                  DurationFamily::UpgradeReady, DurationFamily::Progress})
                lines << " " << DurationText(family, serial, folder);
            lines << "\n";
        }
    }
    return lines.str();
}

class PageIndex : public PageTest {
protected:
    // The command, its result and what has become of an open port and of the progress record.
    std::string ResultOf(const ShownPage& shown, int command) {
        State.Link.LinkHandle = CreateEventA(nullptr, TRUE, FALSE, nullptr);
        State.Run.BootloaderResume = false;
        DeleteProgressRecord();
        std::string result =
            std::to_string(command) + " gives " + std::to_string(ShowAndSend(shown, command));
        result += State.Link.LinkHandle ? "" : ", closes the port";
        CloseLinkPort();
        ReadProgressRecord();
        return result + (State.Run.BootloaderResume ? ", leads to the bootloader\n" : "\n");
    }
};

TEST_F(PageIndex, every_page_is_as_recorded_and_leaves_nothing_behind) {
    LoadBanner();
    std::string seen;
    for (const ShownPage& shown : Pages) {
        const int objects = platform::DrawingObjectCount();
        std::string results;
        for (const PageResult& end : shown.page().results)
            results += ResultOf(shown, end.command);
        seen += Describe(shown, user_.opened.back(), user_.ended.back()) + results + "\n";
        EXPECT_EQ(objects, platform::DrawingObjectCount())
            << "fonts, brushes or pictures are left by page " << user_.ended.back().id;
    }
    seen += Durations();
    std::ofstream(BUILD_FOLDER "/pages.txt") << seen;
    EXPECT_EQ(ReadBytes(SOURCE_FOLDER "/tests/pages/pages.txt"), seen);
}

} // namespace
