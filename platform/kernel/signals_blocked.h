// Blocks all signals on the calling thread for a scope. A thread that is started in it inherits
// the mask and never takes a signal, which belong to the threads of the program.
#pragma once

#include <csignal>

namespace platform {

class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_;
};

} // namespace platform
