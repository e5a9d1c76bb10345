// The interface of displays, which show pages to the user, and the plain values that they show.
//
// A display is called for every page and change while the model is locked, in the order in which
// they happen; it must not call into windows then, and gets all that it shows as plain values.
// Input comes the other way: a display that has no events of its own is polled for it (NextAction,
// NextAnswer) by the thread that owns the page, whenever that thread has nothing else to do; one
// that has posts messages to the page's controls.
#pragma once

#include "platform/windows/controls.h"
#include "platform/windows/drawing.h"
#include "platform/windows/sentences.h"

#include <wingdi.h>

#include <optional>
#include <string>
#include <vector>

namespace platform {

enum class TextAlignment { Left, Centre, Right };

struct ControlView {
    HWND handle;
    int id; // -1: none
    ControlKind kind;
    std::string text; // UTF-8, without the marks of underlined letters; of a text, what shows of it
    RECT rect;        // pixels in the page's client area
    bool visible, enabled, checked, isDefault;
    bool hasFocus;                  // while its page is active
    LONG lowest, highest, position; // of a progress bar
    LOGFONTA font;                  // height 0: the display's own
    PaintResult painted;            // colours of a text
    TextAlignment alignment;        // of a text, across
    bool centredDown;               // a text of one line, in the middle of its height
};

struct PageView {
    HWND handle;
    int id;            // of the dialog's template
    std::string title; // UTF-8; empty for a page without a title bar
    RECT rect;         // screen pixels, frame included
    SIZE clientSize;
    std::vector<ControlView> controls;
    std::vector<PaintedPicture> pictures;
};

struct PageAction {
    enum { Click, Enter, Escape } kind;
    HWND control; // of a click
};

struct FileRequest {
    bool save;
    HWND owner;                       // null: none
    std::string proposal;             // UTF-8, may be empty
    std::vector<std::string> filters; // the names that the user is shown, UTF-8
};

struct FileAnswer {
    bool cancelled;
    std::string path; // UTF-8, as the user gave it
};

class Display {
public:
    virtual ~Display() = default;

    virtual void ShowPage(const PageView& page) = 0; // it came on screen
    virtual void HidePage(const PageView& page) = 0; // off the screen; it may come back
    virtual void UpdateControl(const PageView& page, const ControlView& control) = 0;
    virtual void UpdatePictures(const PageView&) {}
    virtual void EndPage(const PageView& page) = 0; // once for each page that was shown
    virtual void UpdateCursor(HWND, bool) {}        // of a page: whether it is the waiting one

    virtual void ShowTaskBar(double) {} // of the program's work, 0 to 1; it ends with its page

    virtual void ShowFileDialog(const FileRequest& request) = 0; // also again, after an error
    virtual void CloseFileDialog() {}                     // answered, or nobody waits any more
    virtual void ShowError(const Sentence& sentence) = 0; // what is wrong with an answer
    virtual void Warn(const Sentence& sentence);          // of the program, not of a page

    // What the user has done on the page, where input is waiting; must not block.
    virtual std::optional<PageAction> NextAction(const PageView&) { return std::nullopt; }
    virtual std::optional<FileAnswer> NextAnswer() { return std::nullopt; }

    // The terminal has gone: no input comes any more, and pages are left as at its end. False for a
    // display that does without one. Called with nothing held.
    virtual bool EndInput() { return false; }

    // The process is about to be stopped or ended by a signal, and goes on after that: leaves the
    // terminal as it was found meanwhile. Stop is called with nothing held, since whoever holds the
    // model may be waiting for a stopped terminal.
    virtual void Stop() {}
    virtual void Continue() {}
};

// Pixels from one line of a text to the next; 0 in the display's own font.
LONG LineHeight(const LOGFONTA& font);

// The display in use: that of UseDisplay, else the one that ROM_WIZARD_DISPLAY names. Where there
// is none of that name, prints one line and ends the program with 2.
Display& ActiveDisplay();

// Makes a display the one in use, before the first page: the desktop's, or a test's own. It stays
// the caller's and outlives all pages. Null returns to the one that the environment names.
void UseDisplay(Display* display);

// Whether a write to the file would not block: a terminal may be stopped (Ctrl-S) and a pipe full,
// and a program with work to do must not wait for their reader.
bool IsWritable(int file);

// A display calls this, holding nothing, when input has come that a thread may be waiting for.
void InputArrived();

} // namespace platform
