// Each lock has a connection of its own to the system's bus, for the one call.

#include "platform/kernel/inhibitor.h"

#include <systemd/sd-bus.h>

#include <errno.h>
#include <fcntl.h>

#include <cstdint>
#include <memory>

namespace platform {

namespace {

constexpr std::uint64_t AnswerMicroseconds = 2'000'000; // a page waits for it

struct BusEnd {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
struct MessageEnd {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

} // namespace

Descriptor RequestInhibitor(const char* what, const std::string& why) {
    sd_bus* opened = nullptr;
    if (sd_bus_open_system(&opened) < 0)
        return {};
    const std::unique_ptr<sd_bus, BusEnd> bus(opened);
    sd_bus_set_method_call_timeout(bus.get(), AnswerMicroseconds);
    sd_bus_message* answered = nullptr;
    const int result =
        sd_bus_call_method(bus.get(), "org.freedesktop.login1", "/org/freedesktop/login1",
                           "org.freedesktop.login1.Manager", "Inhibit", nullptr, &answered, "ssss",
                           what, program_invocation_short_name, why.c_str(), "block");
    const std::unique_ptr<sd_bus_message, MessageEnd> answer(answered);
    int inhibitor = -1; // belongs to the message
    if (result < 0 || sd_bus_message_read(answer.get(), "h", &inhibitor) < 0)
        return {};
    return Descriptor(fcntl(inhibitor, F_DUPFD_CLOEXEC, 0));
}

} // namespace platform
