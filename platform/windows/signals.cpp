// Signals from the terminal, and the one that asks a process to end, served by a thread of their
// own.
//
// While a thread of the program requires the system (SetThreadExecutionState), its work must not be
// broken off, and a stopped process is as good as a dead one to whoever is at the other end of a
// cable. So the signal is dropped then, with a warning. Elsewhere each does what the user
// expects of it. SIGTERM, which comes at the end of the session too, is first put to the windows,
// as Windows puts that end to them. Only SIGKILL ends the process at any time.

#include "platform/windows/signals.h"

#include "platform/kernel/execution_state.h"
#include "platform/windows/display.h"
#include "platform/windows/pages.h"
#include "platform/windows/session_end.h"
#include "platform/windows/window_model.h"

#include <pthread.h>

#include <csignal>
#include <initializer_list>
#include <thread>

namespace platform {

namespace {

sigset_t SetOf(std::initializer_list<int> signals) {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals)
        sigaddset(&set, signal);
    return set;
}

// Those of them that the process was not started to ignore. A blocked signal is kept even if it is
// ignored, so these have to be left out.
sigset_t ServedSignals() {
    sigset_t served = SetOf({});
    for (const int signal : {SIGINT, SIGQUIT, SIGTSTP, SIGHUP, SIGTERM}) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            sigaddset(&served, signal);
    }
    return served;
}

// Ends the process, or stops it until it is continued.
void ActByDefault(int signal) {
    const sigset_t only = SetOf({signal});
    ActiveDisplay().Stop();
    raise(signal);
    pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
    pthread_sigmask(SIG_BLOCK, &only, nullptr);
    const auto lock = LockWindows();
    ActiveDisplay().Continue();
}

void HandleSignal(int signal) {
    const bool done = (signal == SIGINT && LeavePage()) ||
                      (signal == SIGHUP && (ActiveDisplay().EndInput() || CloseProgram()));
    if (!done)
        ActByDefault(signal);
}

// False where it has been refused.
bool TryHandle(int signal) {
    return (signal != SIGTERM || MaySessionEnd()) &&
           UnlessSystemRequired([signal] { HandleSignal(signal); });
}

void Refuse(int signal) {
    if (signal == SIGHUP)
        ActiveDisplay().EndInput(); // what comes after the work is left without the user
    const auto lock = LockWindows();
    ActiveDisplay().Warn({Phrase::NotBrokenOff});
}

[[noreturn]] void Serve(sigset_t signals) {
    for (;;) {
        int signal = 0;
        if (sigwait(&signals, &signal) == 0 && !TryHandle(signal))
            Refuse(signal);
    }
}

} // namespace

void BlockSignals() {
    sigset_t blocked = ServedSignals();
    sigaddset(&blocked, SIGTTIN); // in the background a read fails instead, and a write succeeds
    sigaddset(&blocked, SIGTTOU);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
}

void ServeSignals() { std::thread(Serve, ServedSignals()).detach(); }

} // namespace platform
