// The host's login manager and a dock, on a message bus of their own: login_manager.py.
#pragma once

#include "testing/child_process.h"

#include <string>

namespace test_support {

class LoginManager {
public:
    LoginManager() = default;
    // Takes the bus down with it.
    ~LoginManager() {
        process_.CloseInput();
        process_.Wait();
    }
    LoginManager(const LoginManager&) = delete;
    LoginManager& operator=(const LoginManager&) = delete;

    // What makes a program use this bus.
    Environment Variables() const {
        return {{"DBUS_SYSTEM_BUS_ADDRESS", address_}, {"DBUS_SESSION_BUS_ADDRESS", address_}};
    }

    // Its lines: "inhibited shutdown block why" for a lock that is taken, "released" once one
    // is given back, and "progress 37" or "progress none" for what the dock is to show.
    ChildProcess& Process() { return process_; }

private:
    ChildProcess process_{
        {"/usr/bin/dbus-run-session", "--", SOURCE_FOLDER "/testing/login_manager.py"}};
    const std::string address_ = process_.ExpectLine("unix:");
};

} // namespace test_support
