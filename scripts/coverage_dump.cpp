// Writes the counters of the preset coverage when a program ends by _exit or SIGTERM, which do not.
//
// Every program and the desktop's module have their own counters. They enter their function that
// writes them into one table, the program's, so that either's end writes both.

#include <csignal>

#include <unistd.h>

extern "C" {
void __gcov_dump();
[[noreturn]] void __real__exit(int code);

void (*coverage_dumps[2])() = {};

static void write_counters() {
    for (void (*const dump)() : coverage_dumps) {
        if (dump)
            dump();
    }
}

static void end(int signal) {
    write_counters();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

__attribute__((constructor)) static void prepare() {
    coverage_dumps[coverage_dumps[0] ? 1 : 0] = __gcov_dump;
    std::signal(SIGTERM, end); // a program that takes it otherwise says so later
}

[[noreturn]] void __wrap__exit(int code) { // for which the linker takes every call of _exit
    write_counters();
    __real__exit(code);
}
}
