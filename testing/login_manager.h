// The host's login manager, as far as it keeps a machine awake, and a dock that shows programs'
// progress, on a message bus of their own.
#pragma once

#include "testing/child_process.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct sd_bus;
struct sd_bus_message;

namespace test_support {

class LoginManager {
public:
    explicit LoginManager(const std::string& folder); // where its socket may lie
    ~LoginManager();
    LoginManager(const LoginManager&) = delete;
    LoginManager& operator=(const LoginManager&) = delete;

    // What makes a program use this bus.
    Environment Variables() const;

    // "what mode" of all inhibitor locks requested so far, such as "sleep block".
    std::vector<std::string> Requests();
    // How many of these locks a program holds now.
    int HeldLocks();

    // What the dock received, in order: percent, or -1 where nothing is to be shown any more.
    std::vector<int> Progress();

    int Inhibit(sd_bus_message* call); // for the bus
    int Update(sd_bus_message* signal);

private:
    void Serve();

    std::string address_;
    std::unique_ptr<ChildProcess> daemon_;
    sd_bus* bus_ = nullptr;
    std::mutex mutex_;
    std::vector<std::string> requests_;
    std::vector<int> progress_;
    std::vector<int> locks_; // reading ends: at their end once the other one is closed
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

} // namespace test_support
