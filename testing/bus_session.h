// A program on a message bus of its own, for what runs of the wizard say and hear there.
#pragma once

#include "testing/child_process.h"

#include <string>

namespace test_support {

class BusSession {
public:
    // Takes the bus down with it.
    ~BusSession() {
        process_.CloseInput();
        process_.Wait();
    }
    BusSession(const BusSession&) = delete;
    BusSession& operator=(const BusSession&) = delete;

    ChildProcess& Process() { return process_; }

protected:
    // A script of this folder that prints the address of its bus first.
    explicit BusSession(const std::string& script, const Environment& environment = {})
        : process_({"/usr/bin/dbus-run-session", "--", SOURCE_FOLDER "/testing/" + script},
                   {.environment = environment}),
          address_(process_.ExpectLine("unix:")) {}

    ChildProcess process_;
    const std::string address_;
};

} // namespace test_support
