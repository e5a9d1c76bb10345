// A handheld in its cradle and the connection manager beside it, started and ready.
#pragma once

#include "testing/test_home.h"

#include <map>
#include <memory>
#include <optional>

namespace test_support {

struct CradleOptions {
    std::string model = "TOLKP1000";
    std::string version = "1.10";
    std::string language = "ENG";
    unsigned flashMegabytes = 2;
    std::vector<std::string> run{};     // options of `handheld run`: faults, --baud, --battery
    std::vector<std::string> manager{}; // options of the connection manager
    bool withManager = true;
    bool create = true;       // false: its folder has been laid out already
    std::string clock = "20"; // ROM_WIZARD_CLOCK of the handheld
};

struct StoredValue {
    std::uint32_t type = 0;
    std::vector<std::uint8_t> data;

    std::uint32_t Number() const; // of type 4
    std::u16string Text() const;  // of type 1, without its terminator
    bool operator==(const StoredValue&) const = default;
};

class Cradle {
public:
    // Makes the handheld of that home, starts both and waits for them.
    explicit Cradle(const TestHome& home, const CradleOptions& options = {});
    ~Cradle(); // ends both as a user does

    ChildProcess& Handheld() { return *handheld_; }
    ChildProcess& Manager() { return *manager_; }

    // Presses its reset, with or without the navigator key; it has started anew on return.
    void Reset(bool navigatorKey = false);
    // Waits until the handheld answers through whichever connection manager runs.
    void AwaitConnection() const;
    // Takes the handheld out: its process ends, and the links of all ports dangle.
    void TakeOut();
    // Takes it out and puts it in again: a new process, with other options.
    void RestartHandheld(const std::vector<std::string>& runOptions = {});
    // Starts a connection manager in place of one that was ended, and waits until it is ready.
    void StartManager(const std::vector<std::string>& options = {});

    std::string Status() const;
    // A line of the status by the name before its colon, such as "version".
    std::string StatusOf(const std::string& name) const;
    // What was refused, a line each; empty: nothing.
    std::string Refused() const;
    // All that an upgrade writes to the flash equals the image.
    bool FlashEquals(const std::filesystem::path& image) const;

    // A file of the device on the host, by its path there: "Windows/Start Menu/Games.lnk".
    std::filesystem::path File(const std::string& name) const;
    bool HasFile(const std::string& name) const { return std::filesystem::exists(File(name)); }
    // Attributes as the device keeps them.
    std::uint32_t Attributes(const std::string& name) const;
    // Keys without a leading backslash. Nothing where there is no such value or key.
    std::optional<StoredValue> RegistryValue(const std::string& key, const std::string& name) const;
    bool HasRegistryKey(const std::string& key) const;

private:
    using RegistryContent = std::map<std::string, std::map<std::string, StoredValue>>;
    RegistryContent Registry() const;

    const TestHome& home_;
    const Environment environment_;
    std::unique_ptr<ChildProcess> handheld_;
    std::unique_ptr<ChildProcess> manager_;
};

} // namespace test_support
