// The toolkit's application around a program, and the desktop's session around both. What the
// program calls here it finds by name (desktop_module.h).

#include "platform/desktop/desktop_display.h"
#include "platform/desktop/toolkit_language.h"
#include "platform/kernel/execution_state.h"
#include "platform/windows/display.h"
#include "platform/windows/session_end.h"

#include <QApplication>
#include <QSessionManager>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>

namespace platform {

namespace {

bool IsSet(const char* name) {
    const char* value = std::getenv(name);
    return value && *value;
}

// In a session without a bus the toolkit has one started, by a fork from one thread of many, and
// waits for its address without a limit before the first page is up. Nobody would listen on such a
// bus, neither a screen reader nor a dock, so there is none.
void DisableAbsentBus() {
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    const bool isThere = folder && access((std::string(folder) + "/bus").c_str(), F_OK) == 0;
    if (!isThere && !IsSet("DBUS_SESSION_BUS_ADDRESS"))
        setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
}

// The session manager asks before it ends the session.
void AskProgram(QSessionManager& manager) {
    if (!MaySessionEnd())
        manager.cancel();
}

// The toolkit's loop ends with the program, or because the session is over. What must not be
// interrupted goes on even then.
void RunLoop(const std::atomic<bool>& programEnded) {
    do
        QApplication::exec();
    while (!programEnded && !UnlessSystemRequired([] { _exit(0); }));
}

} // namespace

} // namespace platform

// The toolkit ends a process that it finds no display for, be it that the session's names one that
// has gone or that its plugin is not installed; so another process tries first. It is no client of
// the session, whose manager would miss it.
extern "C" bool DesktopIsThere() {
    constexpr unsigned MaxSeconds = 20; // for a display that takes the connection and says nothing
    platform::DisableAbsentBus();
    const pid_t trial = fork();
    if (trial == 0) {
        alarm(MaxSeconds);
        unsetenv("SESSION_MANAGER");
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString&) {
            if (type == QtFatalMsg)
                _exit(1);
        });
        char name[] = "rom-wizard";
        char* words[] = {name, nullptr};
        int count = 1;
        const QGuiApplication application(count, words);
        _exit(0);
    }
    int status = 1;
    while (trial > 0 && waitpid(trial, &status, 0) < 0 && errno == EINTR) {
    }
    return trial > 0 && status == 0;
}

extern "C" int RunOnDesktop(int count, char** words, int (*program)()) {
    using namespace platform;
    DisableAbsentBus();
    // Never destroyed: threads of the program may still show something while the process ends.
    static int kept = count;
    auto& application = *new QApplication(kept, words);
    QApplication::setQuitOnLastWindowClosed(false); // there is none between two pages
    QApplication::setApplicationName("rom-wizard");
    QApplication::setDesktopFileName("rom-wizard"); // by which a desktop finds name and icon
    desktop::LoadToolkitLanguage(application);
    QObject::connect(&application, &QGuiApplication::commitDataRequest, AskProgram);
    UseDisplay(&DesktopDisplay());
    int result = 0;
    std::atomic<bool> programEnded = false;
    std::thread thread([&] {
        result = program();
        programEnded = true;
        QMetaObject::invokeMethod(&application, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    RunLoop(programEnded);
    thread.join();
    return result;
}
