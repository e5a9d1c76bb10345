// `main` of a windowed program.
//
// The first thread belongs to the display; WinMain runs on a thread of its own and may block as it
// likes. Threads that are still in a read or a wait when WinMain returns do not keep the process
// alive: it leaves by _exit, with everything written that was printed.

#include "platform/desktop_module.h"
#include "platform/kernel/handles.h"
#include "platform/ports/port_open.h"
#include "platform/rapi/rapi_session.h"
#include "platform/windows/display.h"
#include "platform/windows/signals.h"
#include "platform/windows/window_model.h"

#include <windows.h>

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string>
#include <system_error>
#include <thread>

namespace {

constexpr std::uintptr_t ProgramModule = 0x00400000; // where Windows programs used to be loaded

void WarnOfRefusedTty(const std::string& tty, const std::string& group) {
    const auto lock = platform::LockWindows();
    platform::ActiveDisplay().Warn({platform::Phrase::PortRefused, tty + " (" + group + ")"});
}

int RunWinMain() {
    platform::ServeSignals();
    platform::OnRefusedTty(WarnOfRefusedTty);
    char commandLine[1] = {};
    return WinMain(reinterpret_cast<HINSTANCE>(ProgramModule), nullptr, commandLine,
                   SW_SHOWDEFAULT);
}

// The terminal's display needs no thread of its own; the program has one all the same, so that it
// meets the same conditions on both.
int RunAtTerminal() {
    platform::ActiveDisplay();
    int exitCode = 0;
    std::thread program([&exitCode] { exitCode = RunWinMain(); });
    program.join();
    return exitCode;
}

// Memory and threads may run out in any call of the layer, which nobody above it expects. The
// program ends as if it were cut off there: what is on the disk is made for that.
[[noreturn]] void EndByException() {
    constexpr int OutOfResources = 3;
    const bool memory = errno == ENOMEM;
    std::exception_ptr exception = std::current_exception();
    // There is none where it left a function that promises to let none pass, as many of the C++
    // library do though they need memory.
    if (!exception && memory)
        exception = std::make_exception_ptr(std::bad_alloc());
    if (!exception)
        std::abort(); // GCOVR_EXCL_LINE: counts are lost; a fault of the program, as is the next
    try {
        std::rethrow_exception(exception);
    } catch (const std::bad_alloc&) {
        std::fputs(PROGRAM_NAME ": out of memory; start it again\n", stderr);
    } catch (const std::system_error& error) {
        std::fprintf(stderr, PROGRAM_NAME ": %s; start it again\n", error.what());
    } catch (...) {
        std::abort(); // GCOVR_EXCL_LINE: the same
    }
    _exit(OutOfResources);
}

// A handle closed twice is a fault that shows nowhere else: by then it may name another object.
void ReportHandles() {
    int closedTwice = platform::BadCloseCount();
    if (std::getenv("ROM_WIZARD_HANDLES"))
        std::fprintf(stderr, "handles: %d open, %d closed twice\n", platform::OpenHandleCount(),
                     closedTwice);
    else if (closedTwice != 0)
        std::fprintf(stderr, "handles: %d closed twice\n", closedTwice);
}

// Windows programs of this kind have no options; these are those that every other program has.
void ParseArguments(int count, char** words) {
    constexpr int WrongUsage = 2;
    if (count == 1)
        return;
    const std::string word = words[1];
    if (count == 2 && word == "--version") {
        std::puts(PROGRAM_NAME " " PROGRAM_VERSION);
        std::exit(0);
    }
    if (count == 2 && word == "--help") {
        std::puts("usage: " PROGRAM_NAME " [--help | --version]\n"
                  "Leads through all it does page by page, on a desktop or at a terminal. More: "
                  "man " PROGRAM_NAME);
        std::exit(0);
    }
    std::fprintf(stderr, PROGRAM_NAME ": %s: no such option; try --help\n", words[count - 1]);
    std::exit(WrongUsage);
}

} // namespace

int main(int count, char** words) {
    std::set_terminate(EndByException);
    ParseArguments(count, words);
    // Whoever reads the pages may go away; that must not end a program in the middle of its work.
    std::signal(SIGPIPE, SIG_IGN);
    platform::BlockSignals();
    platform::RunOnDesktopFunction* const runOnDesktop = platform::WantedDesktop();
    const int exitCode = runOnDesktop ? runOnDesktop(count, words, RunWinMain) : RunAtTerminal();
    // As the unloading of the library would; its event is not the program's to close.
    platform::RapiSession::Instance().Close();
    ReportHandles();
    std::fflush(nullptr);
    _exit(exitCode);
}
