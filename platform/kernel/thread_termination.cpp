// The flag of each thread by which it learns that it has been terminated.

#include "platform/kernel/thread_termination.h"

#include <pthread.h>

namespace platform {
namespace {

thread_local const std::atomic<bool>* watched = nullptr;

} // namespace

void LeaveIfTerminated() {
    if (watched && *watched)
        pthread_exit(nullptr);
}

void WatchTermination(const std::atomic<bool>* terminated) { watched = terminated; }

} // namespace platform
