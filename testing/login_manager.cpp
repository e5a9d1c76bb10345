// Serving Inhibit and the dock's Update on a message bus of the test's own.

#include "testing/login_manager.h"

#include <systemd/sd-bus.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <stdexcept>

namespace test_support {

namespace {

int HandleInhibit(sd_bus_message* call, void* manager, sd_bus_error*) {
    return static_cast<LoginManager*>(manager)->Inhibit(call);
}

int HandleUpdate(sd_bus_message* signal, void* manager, sd_bus_error*) {
    return static_cast<LoginManager*>(manager)->Update(signal);
}

const sd_bus_vtable Calls[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Inhibit", "ssss", "h", HandleInhibit, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

// Everybody may own and call everything.
void WriteConfiguration(const std::string& path, const std::string& address) {
    std::ofstream(path) << "<busconfig><type>system</type><listen>" << address
                        << "</listen><policy context=\"default\"><allow own=\"*\"/>"
                           "<allow send_destination=\"*\"/><allow receive_sender=\"*\"/>"
                           "</policy></busconfig>\n";
}

void Check(int result, const char* what) {
    if (result < 0)
        throw std::runtime_error(std::string("login manager: cannot ") + what);
}

} // namespace

LoginManager::LoginManager(const std::string& folder) : address_("unix:path=" + folder + "/bus") {
    WriteConfiguration(folder + "/bus.conf", address_);
    daemon_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"/usr/bin/dbus-daemon", "--config-file=" + folder + "/bus.conf",
                                 "--nofork", "--print-address"});
    daemon_->ExpectLine("unix:path=");
    Check(sd_bus_new(&bus_), "make a connection");
    Check(sd_bus_set_address(bus_, address_.c_str()), "name the bus");
    Check(sd_bus_set_bus_client(bus_, 1), "be a client");
    Check(sd_bus_start(bus_), "connect");
    Check(sd_bus_add_object_vtable(bus_, nullptr, "/org/freedesktop/login1",
                                   "org.freedesktop.login1.Manager", Calls, this),
          "offer a call");
    Check(sd_bus_request_name(bus_, "org.freedesktop.login1", 0), "take its name");
    Check(sd_bus_match_signal(bus_, nullptr, nullptr, nullptr, "com.canonical.Unity.LauncherEntry",
                              "Update", HandleUpdate, this),
          "listen");
    thread_ = std::thread(&LoginManager::Serve, this);
}

LoginManager::~LoginManager() {
    stop_ = true;
    thread_.join();
    sd_bus_close_unref(bus_);
    for (const int held : locks_)
        close(held);
}

Environment LoginManager::Variables() const {
    return {{"DBUS_SYSTEM_BUS_ADDRESS", address_}, {"DBUS_SESSION_BUS_ADDRESS", address_}};
}

void LoginManager::Serve() {
    constexpr std::uint64_t TurnMicroseconds = 20'000;
    while (!stop_) {
        const int served = sd_bus_process(bus_, nullptr);
        if (served < 0)
            return;
        if (served == 0)
            sd_bus_wait(bus_, TurnMicroseconds);
    }
}

int LoginManager::Inhibit(sd_bus_message* call) {
    const char *what = "", *who = "", *why = "", *mode = "";
    sd_bus_message_read(call, "ssss", &what, &who, &why, &mode);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return -1;
    const int result = sd_bus_reply_method_return(call, "h", ends[1]);
    sd_bus_flush(bus_);
    close(ends[1]);
    const std::lock_guard lock(mutex_);
    requests_.push_back(std::string(what) + " " + mode);
    locks_.push_back(ends[0]);
    return result;
}

// The program's name, and a table of values.
int LoginManager::Update(sd_bus_message* signal) {
    const char *program = "", *name = "";
    double progress = 0;
    int visible = 0;
    sd_bus_message_read(signal, "s", &program);
    sd_bus_message_enter_container(signal, 'a', "{sv}");
    while (sd_bus_message_enter_container(signal, 'e', "sv") > 0) {
        sd_bus_message_read(signal, "s", &name);
        const bool isPart = std::string(name) == "progress";
        sd_bus_message_read(signal, "v", isPart ? "d" : "b",
                            isPart ? static_cast<void*>(&progress) : static_cast<void*>(&visible));
        sd_bus_message_exit_container(signal);
    }
    const std::lock_guard lock(mutex_);
    progress_.push_back(visible ? static_cast<int>(std::lround(100 * progress)) : -1);
    return 0;
}

std::vector<int> LoginManager::Progress() {
    const std::lock_guard lock(mutex_);
    return progress_;
}

std::vector<std::string> LoginManager::Requests() {
    const std::lock_guard lock(mutex_);
    return requests_;
}

int LoginManager::HeldLocks() {
    const std::lock_guard lock(mutex_);
    return static_cast<int>(std::ranges::count_if(locks_, [](int end) {
        pollfd state = {end, POLLIN, 0};
        return poll(&state, 1, 0) == 0; // nothing to read, and not closed
    }));
}

} // namespace test_support
