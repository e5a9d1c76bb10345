// The handheld's end of a cable.

#include "simulator/serial_end.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr unsigned BitsPerByte = 10; // start bit, 8 data bits, stop bit
constexpr unsigned PacedReadsPerSecond = 50;
constexpr std::size_t LargestRead = 0x10000;

Descriptor OpenMaster() {
    Descriptor master(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (!master || grantpt(master.Get()) != 0 || unlockpt(master.Get()) != 0)
        FailOn("open", "a pseudo-terminal");
    return master;
}

// No echo and no translation before anybody has set the line up.
void MakeRaw(const Descriptor& terminal, const std::string& name) {
    termios settings = {};
    if (tcgetattr(terminal.Get(), &settings) != 0)
        FailOn("set up", name);
    cfmakeraw(&settings);
    if (tcsetattr(terminal.Get(), TCSANOW, &settings) != 0)
        FailOn("set up", name);
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
    : loop_(loop), link_(std::move(link)), baud_(baud), master_(OpenMaster()) {
    char name[64];
    if (ptsname_r(master_.Get(), name, sizeof(name)) != 0)
        FailOn("name", "a pseudo-terminal");
    slaveName_ = name;
    slave_ = OpenHost(slaveName_, O_RDWR | O_NOCTTY);
    MakeRaw(slave_, slaveName_);
    ReplaceLink(slaveName_, link_);
    Watch();
}

SerialEnd::~SerialEnd() {
    loop_.Unwatch(master_.Get());
    loop_.Cancel(arriving_);
    std::error_code error;
    if (std::filesystem::read_symlink(link_, error) == slaveName_)
        std::filesystem::remove(link_, error);
}

Clock::duration SerialEnd::WireTime(std::size_t bytes) const {
    if (baud_ == 0)
        return Clock::duration::zero();
    return std::chrono::nanoseconds(bytes * BitsPerByte * 1000000000ULL / baud_);
}

void SerialEnd::Watch() {
    loop_.Watch(master_.Get(), [this] {
        if (baud_ == 0)
            ReadUnpaced();
        else
            ReadPaced(Clock::now());
    });
}

void SerialEnd::ReadUnpaced() {
    arrived_.resize(LargestRead);
    const ssize_t count = read(master_.Get(), arrived_.data(), arrived_.size());
    arrived_.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    const auto now = Clock::now();
    if (!arrived_.empty())
        Deliver(now, now);
}

// Takes what lies ready as having begun on the wire at `begin`, and hands it on when it is through.
void SerialEnd::ReadPaced(Clock::time_point begin) {
    arrived_.resize(std::max(1U, baud_ / BitsPerByte / PacedReadsPerSecond));
    const ssize_t count = read(master_.Get(), arrived_.data(), arrived_.size());
    arrived_.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    if (arrived_.empty()) {
        Watch(); // the wire is idle: the next byte begins when it comes
        return;
    }
    loop_.Unwatch(master_.Get());
    const auto end = begin + WireTime(arrived_.size());
    arriving_ = loop_.At(end, [this, begin, end] {
        Deliver(begin, end);
        if (!dead_)
            ReadPaced(end);
    });
}

void SerialEnd::Deliver(Clock::time_point begin, Clock::time_point end) {
    if (taker_)
        taker_({arrived_, begin, end});
}

void SerialEnd::Send(Bytes bytes, std::function<void(Clock::time_point)> sent) {
    sentUntil_ = std::max(sentUntil_, Clock::now()) + WireTime(bytes.size());
    auto write = [this, bytes = std::move(bytes), sent = std::move(sent)] {
        // A full buffer means that the PC reads nothing; a wire does not keep what is not taken.
        [[maybe_unused]] const ssize_t count = ::write(master_.Get(), bytes.data(), bytes.size());
        if (sent)
            sent(Clock::now());
    };
    if (baud_ == 0)
        write();
    else
        loop_.At(sentUntil_, write);
}

void SerialEnd::Die() {
    dead_ = true;
    loop_.Unwatch(master_.Get());
    loop_.Cancel(arriving_);
}

void SerialEnd::Revive() {
    if (!dead_)
        return;
    dead_ = false;
    tcflush(slave_.Get(), TCIFLUSH);
    arrived_.resize(LargestRead);
    while (read(master_.Get(), arrived_.data(), arrived_.size()) > 0) {
    }
    Watch();
}

} // namespace simulator
