// What all displays share: the measure of a line, warnings, and the wake-up by input.

#include "platform/windows/display.h"

#include "platform/windows/window_model.h"

#include <cmath>
#include <cstdio>
#include <string>

#include <poll.h>
#include <unistd.h>

namespace platform {

LONG LineHeight(const LOGFONTA& font) {
    constexpr double CellOfEm = 14.0 / 11; // of Arial on Windows at the size of the pages
    return font.lfHeight < 0 ? static_cast<LONG>(std::lround(-font.lfHeight * CellOfEm))
                             : font.lfHeight;
}

void Display::Warn(const Sentence& sentence) {
    if (IsWritable(STDERR_FILENO))
        std::fprintf(stderr, "%s\n", InEnglish(sentence).c_str());
}

bool IsWritable(int file) {
    pollfd waiting = {file, POLLOUT, 0};
    return poll(&waiting, 1, 0) == 1 && (waiting.revents & POLLOUT);
}

void InputArrived() {
    auto lock = LockWindows();
    WakeAllThreads();
}

} // namespace platform
