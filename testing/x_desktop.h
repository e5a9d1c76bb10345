// A desktop without a screen: an X server of its own, and a user at its keyboard and its mouse.
#pragma once

#include "testing/child_process.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace test_support {

class XDesktop {
public:
    // Starts the server and waits for it; throws where it does not come up.
    XDesktop();
    ~XDesktop();
    XDesktop(const XDesktop&) = delete;
    XDesktop& operator=(const XDesktop&) = delete;

    // What makes a program show itself here.
    Environment Variables() const;

    // Waits for a window of that role to be on the screen with the keyboard's focus. Throws
    // after a minute, with what is on it.
    void AwaitWindow(const std::string& role);
    // The same for a page of the wizard.
    void AwaitPage(int page) { AwaitWindow("page-" + std::to_string(page)); }
    // Whether such a window is on the screen now.
    bool Shows(const std::string& role);

    // The pixels of the whole screen, as the server keeps them.
    std::vector<std::uint8_t> Screenshot();
    // Lays another window over everything and takes it away again: windows below have to draw
    // themselves anew.
    void ForceRedraw();

    // Real key events, by the names of X: "Tab", "Return", "Control+a". They have gone out on
    // return.
    void Press(const std::string& key);
    void Type(const std::string& text);
    // A click with the left button in the window, in pixels from its left and upper edges, or from
    // the right and lower ones where they are negative. False: it is not on the screen.
    bool Click(const std::string& role, int x, int y);

private:
    struct ShownWindow {
        xcb_window_t window;
        std::string role; // empty: none
    };

    std::vector<ShownWindow> Windows();
    xcb_window_t Find(const std::string& role); // 0: not on the screen
    bool HasFocus(xcb_window_t window);
    void Send(std::vector<std::string> command);

    std::unique_ptr<ChildProcess> server_;
    std::string display_;
    xcb_connection_t* connection_ = nullptr;
    xcb_window_t root_ = 0;
    std::uint16_t width_ = 0, height_ = 0;
};

} // namespace test_support
