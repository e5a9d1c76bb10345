// What all pages have in common: a page is a dialog template and a row of data, which says what
// text goes into which control and which command ends the page with which result.
//
// Every page is opened on the thread that needs it and blocks that thread alone. Once MainWindow
// has been destroyed no page comes up any more: ShowPage gives PageNotShown at once.
#pragma once

#include <windows.h>

#include <span>

enum class TextMark { Plain, Heading, Bold };

// Control = catalog text or, with a value, "text value". A text of 0 is set by the page itself.
struct PageText {
    int control;
    unsigned text;
    TextMark mark = TextMark::Plain;
    const char* value = nullptr;
};

// A command that ends the page, with the result that its caller receives.
struct PageResult {
    int command;
    INT_PTR result;
};

// A bitmap resource at its natural size, at pixels of the client area.
struct PagePicture {
    int bitmap;
    int x, y;
};
constexpr std::size_t MaxPictures = 2; // on one page

// Colours of one static control. The control is filled with the page's brush.
enum class Colouring {
    RedText,       // on COLOR_SCROLLBAR
    RedBackground, // the text keeps its colour
};
struct PageColour {
    int control;
    Colouring colouring;
    const bool* onlyWhile = nullptr; // null: always
};

struct Page {
    int dialog; // id of its template
    std::span<const PageText> texts;
    std::span<const PageResult> results;
    std::span<const PagePicture> pictures = {};
    std::span<const PageColour> colours = {};
    bool hasTitle = true; // title bar, banner: a standard page
    // Where the focus is when the page opens, and so what Enter presses: on the default button, or
    // the only one of a page without. With this set on none, and Enter is the default button's
    // command if that is not grey, on a page without one IDOK.
    bool keepsFocus = false;

    // Duties beyond the data, on the page's thread.

    // When all of the above has been set, before the page is on the screen.
    void (*open)(HWND page) = nullptr;
    // A command, before the results are looked at. True: handled.
    bool (*command)(HWND page, int command) = nullptr;
    // Any other message. True: handled, and `answer` is what the message gives.
    bool (*message)(HWND page, UINT message, WPARAM first, LPARAM second,
                    INT_PTR* answer) = nullptr;
};

constexpr INT_PTR PageNotShown = -1;

// Shows the page with no owner and gives its result; PageNotShown when the run had ended before or
// has ended meanwhile, or when there is no such template. Any thread.
INT_PTR ShowPage(const Page& page);

// Opens a waiting page that does not block, and paints it; the handle, or null once the run has
// ended. Its opener ends it with EndWaitingPage. Of the row, texts alone count.
HWND OpenWaitingPage(const Page& page, HWND owner);

// Destroys a waiting page, also one that EndDialog has taken off the screen, on the thread that
// opened it, and sets the handle to null. One whose owner has been destroyed has gone already.
void EndWaitingPage(HWND& page);

// Takes a page off the screen and leaves it running. Null is ignored.
void CollapsePage(HWND page, bool repaint);

// Moves a page to the middle of the screen.
void CentreWindow(HWND page);

// Arial of 17 pixels, weight 900. The caller owns it, and keeps it until the page has gone.
HFONT MakeHeadingFont(HWND page);

// "label value" into a control, with one blank between them.
void SetLabelledText(HWND page, int control, unsigned label, const char* value);
