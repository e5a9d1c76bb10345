// The ends of the cables as pseudo-terminals: pacing, pauses, and leaving the bus.

#include "simulator/serial_end.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include <fcntl.h>
#include <sys/file.h>
#include <termios.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr unsigned BitsPerByte = 10; // start bit, 8 data bits, stop bit
constexpr unsigned PacedReadsPerSecond = 50;
constexpr std::size_t MaxReadSize = 0x10000;
constexpr char Nowhere[] = "unplugged"; // no such file beside the links

Descriptor OpenMaster() {
    Descriptor master(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (!master || grantpt(master.Number()) != 0 || unlockpt(master.Number()) != 0)
        FailOn("open", "a pseudo-terminal");
    return master;
}

// No echo and no translation before anybody has set the line up.
void MakeRaw(const Descriptor& terminal, const std::string& name) {
    termios settings = {};
    if (tcgetattr(terminal.Number(), &settings) != 0)
        FailOn("set up", name);
    cfmakeraw(&settings);
    if (tcsetattr(terminal.Number(), TCSANOW, &settings) != 0)
        FailOn("set up", name);
}

Terminal OpenTerminal() {
    Terminal terminal;
    terminal.master = OpenMaster();
    char name[64];
    if (ptsname_r(terminal.master.Number(), name, sizeof(name)) != 0)
        FailOn("name", "a pseudo-terminal");
    terminal.name = name;
    terminal.slave = OpenHost(terminal.name, O_RDWR | O_NOCTTY);
    MakeRaw(terminal.slave, terminal.name);
    return terminal;
}

void ReplaceLink(const std::filesystem::path& target, const std::filesystem::path& link) {
    const std::filesystem::path fresh = link.string() + ".new" + std::to_string(getpid());
    std::error_code ignored;
    std::filesystem::remove(fresh, ignored);
    if (symlink(target.c_str(), fresh.c_str()) != 0)
        FailOn("link", fresh);
    if (rename(fresh.c_str(), link.c_str()) != 0)
        FailOn("link", link);
}

} // namespace

SerialEnd::SerialEnd(EventLoop& loop, std::filesystem::path link, std::uint32_t baud)
    : loop_(loop), link_(std::move(link)), baud_(baud) {
    Plug();
}

SerialEnd::~SerialEnd() {
    std::error_code error;
    const auto target = std::filesystem::read_symlink(link_, error);
    StopReading();
    if (error || (target != terminal_.name && (!heldPort_ || target != heldPort_->name)))
        return; // another handheld's by now
    try {
        ReplaceLink(Nowhere, link_);
    } catch (const Failure&) {
        // The folder of the links is going away, and the links with it.
    }
}

Clock::duration SerialEnd::WireTime(std::size_t bytes) const {
    if (baud_ == 0)
        return Clock::duration::zero();
    return std::chrono::nanoseconds(bytes * BitsPerByte * 1000000000ULL / baud_);
}

void SerialEnd::Watch() {
    loop_.Watch(terminal_.master.Number(), [this] {
        if (baud_ == 0)
            ReadUnpaced();
        else
            ReadPaced(Clock::now());
    });
}

void SerialEnd::ReadUnpaced() {
    arrived_.resize(MaxReadSize);
    const ssize_t count = read(terminal_.master.Number(), arrived_.data(), arrived_.size());
    arrived_.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    const auto now = Clock::now();
    if (!arrived_.empty())
        Deliver(now, now);
}

// Reads what is there as having begun on the wire at `begin`, and delivers it when it is through.
void SerialEnd::ReadPaced(Clock::time_point begin) {
    arrived_.resize(std::max(1U, baud_ / BitsPerByte / PacedReadsPerSecond));
    const ssize_t count = read(terminal_.master.Number(), arrived_.data(), arrived_.size());
    arrived_.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    if (arrived_.empty()) {
        Watch(); // the wire is idle: the next byte begins when it comes
        return;
    }
    loop_.Unwatch(terminal_.master.Number());
    const auto end = begin + WireTime(arrived_.size());
    deliveryTimer_ = loop_.At(end, [this, begin, end] {
        Deliver(begin, end);
        if (!paused_ && !IsUnplugged())
            ReadPaced(end);
    });
}

void SerialEnd::Deliver(Clock::time_point begin, Clock::time_point end) {
    if (receiver_)
        receiver_({arrived_, begin, end});
}

void SerialEnd::Send(Bytes bytes, std::function<void(Clock::time_point)> sent) {
    sentUntil_ = std::max(sentUntil_, Clock::now()) + WireTime(bytes.size());
    auto write = [this, bytes = std::move(bytes), sent = std::move(sent)] {
        // A full buffer means that the PC reads nothing; a wire does not keep what is not read.
        [[maybe_unused]] const ssize_t count =
            ::write(terminal_.master.Number(), bytes.data(), bytes.size());
        if (sent)
            sent(Clock::now());
    };
    if (baud_ == 0)
        write();
    else
        loop_.At(sentUntil_, write);
}

void SerialEnd::StopReading() {
    if (!IsUnplugged())
        loop_.Unwatch(terminal_.master.Number());
    loop_.Cancel(deliveryTimer_);
}

void SerialEnd::DropArrived() {
    tcflush(terminal_.slave.Number(), TCIFLUSH);
    arrived_.resize(MaxReadSize);
    while (read(terminal_.master.Number(), arrived_.data(), arrived_.size()) > 0) {
    }
}

void SerialEnd::PauseReceiving() {
    paused_ = true;
    StopReading();
}

void SerialEnd::ResumeReceiving() {
    paused_ = false;
    if (!IsUnplugged())
        Watch();
}

void SerialEnd::Unplug() {
    StopReading();
    terminal_ = Terminal();
    heldPort_.reset();
    ReplaceLink(Nowhere, link_);
}

void SerialEnd::Plug() {
    terminal_ = OpenTerminal();
    ReplaceLink(terminal_.name, link_);
    if (!paused_)
        Watch();
}

void SerialEnd::LinkToHeldPort() {
    heldPort_ = OpenTerminal();
    if (flock(heldPort_->slave.Number(), LOCK_EX | LOCK_NB) != 0)
        FailOn("hold", heldPort_->name);
    ReplaceLink(heldPort_->name, link_);
}

void SerialEnd::Reset() {
    const bool wasPaused = std::exchange(paused_, false);
    if (heldPort_) {
        heldPort_.reset();
        ReplaceLink(terminal_.name, link_);
    }
    if (IsUnplugged()) {
        Plug();
    } else if (wasPaused) {
        DropArrived();
        Watch();
    }
}

} // namespace simulator
