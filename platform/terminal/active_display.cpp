// Which display is in use: the one that the program has set, or that of the environment.

#include "platform/terminal/terminal_display.h"
#include "platform/windows/display.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

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

Display& ActiveDisplay() {
    if (Display* display = chosenDisplay)
        return *display;
    static Display& display = DisplayOfEnvironment();
    return display;
}

void UseDisplay(Display* display) { chosenDisplay = display; }

} // namespace platform
