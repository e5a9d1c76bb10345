// A user who hears the desktop, on a message bus of their own: screen_reader.py.
#pragma once

#include "testing/bus_session.h"

#include <vector>

namespace test_support {

class ScreenReader : public BusSession {
public:
    // The folder is the user's own, for what the bus of screen readers keeps there.
    explicit ScreenReader(const std::string& folder)
        : BusSession(
              "screen_reader.py",
              {{"XDG_RUNTIME_DIR", folder}, {"HOME", folder}, {"GSETTINGS_BACKEND", "memory"}}) {}

    // What makes a program use this bus.
    Environment Variables() const { return {{"DBUS_SESSION_BUS_ADDRESS", address_}}; }

    // Waits for a window whose name begins so: what is heard in it.
    std::vector<std::string> AwaitWindow(const std::string& name) {
        process_.ExpectLine("window " + name);
        std::vector<std::string> heard;
        for (const auto any = [](const std::string&) { return true; };;) {
            heard.push_back(process_.ExpectLine(any, "of a window"));
            if (heard.back() == "end of window")
                return heard;
        }
    }
    void Press(const std::string& name) { process_.Send("press " + name); }
    void Write(const std::string& text) { process_.Send("write " + text); }
};

} // namespace test_support
