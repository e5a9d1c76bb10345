// The toolkit's application around a program.

#include "platform/desktop/desktop_program.h"

#include "platform/desktop/desktop_display.h"
#include "platform/display.h"

#include <QApplication>

#include <cstdlib>
#include <cstring>
#include <thread>

namespace platform {

namespace {

bool IsSet(const char* name) {
    const char* value = std::getenv(name);
    return value && *value;
}

} // namespace

bool DesktopIsWanted() {
    if (IsSet("ROM_WIZARD_DISPLAY"))
        return std::strcmp(std::getenv("ROM_WIZARD_DISPLAY"), "desktop") == 0;
    return IsSet("WAYLAND_DISPLAY") || IsSet("DISPLAY");
}

int RunOnDesktop(int count, char** words, const std::function<int()>& program) {
    // Never destroyed: threads of the program may still show something while the process ends.
    static int kept = count;
    auto& application = *new QApplication(kept, words);
    QApplication::setQuitOnLastWindowClosed(false); // there is none between two pages
    QApplication::setApplicationName("rom-wizard");
    UseDisplay(&DesktopDisplay());
    int result = 0;
    std::thread thread([&] {
        result = program();
        QMetaObject::invokeMethod(&application, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    QApplication::exec();
    thread.join();
    return result;
}

} // namespace platform
