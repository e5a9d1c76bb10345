// Which display shows the pages.

#include "platform/display.h"

#include "platform/terminal_display.h"
#include "platform/window_model.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace platform {

namespace {

constexpr int NoSuchDisplay = 2; // exit code

std::atomic<Display*> chosenDisplay = nullptr;

Display& DisplayOfEnvironment() {
    const char* name = std::getenv("ROM_WIZARD_DISPLAY");
    if (name && *name && std::strcmp(name, "terminal") != 0) {
        std::fprintf(stderr, "ROM_WIZARD_DISPLAY: the display '%s' is not built in\n", name);
        _exit(NoSuchDisplay);
    }
    return TerminalDisplay();
}

} // namespace

bool PageView::CanBeWorked() const {
    return std::any_of(controls.begin(), controls.end(), [](const ControlView& control) {
        return control.visible && platform::CanBeWorked(control.kind);
    });
}

LONG LineHeight(const LOGFONTA& font) {
    constexpr double CellOfEm = 14.0 / 11; // of Arial on Windows at the size of the pages
    return font.lfHeight < 0 ? static_cast<LONG>(std::lround(-font.lfHeight * CellOfEm))
                             : font.lfHeight;
}

void Display::Warn(const std::string& sentence) {
    if (IsWritable(STDERR_FILENO))
        std::fprintf(stderr, "%s\n", sentence.c_str());
}

Display& ActiveDisplay() {
    if (Display* display = chosenDisplay)
        return *display;
    static Display& display = DisplayOfEnvironment();
    return display;
}

void UseDisplay(Display* display) { chosenDisplay = display; }

bool IsWritable(int file) {
    pollfd waiting = {file, POLLOUT, 0};
    return poll(&waiting, 1, 0) == 1 && (waiting.revents & POLLOUT);
}

void InputArrived() {
    auto lock = LockWindows();
    WakeAllThreads();
}

} // namespace platform
