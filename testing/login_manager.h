// The host's login manager and a dock, on a message bus of their own: login_manager.py.
#pragma once

#include "testing/bus_session.h"

namespace test_support {

// Its lines: "inhibited shutdown block why" for a lock that is taken, "released" once one is given
// back, and "progress 37" or "progress none" for what the dock is to show.
class LoginManager : public BusSession {
public:
    LoginManager() : BusSession("login_manager.py") {}

    // What makes a program use this bus.
    Environment Variables() const {
        return {{"DBUS_SYSTEM_BUS_ADDRESS", address_}, {"DBUS_SESSION_BUS_ADDRESS", address_}};
    }
};

} // namespace test_support
