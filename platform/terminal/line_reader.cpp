// Reads lines on a thread of its own. What it keeps is bounded: a longer line is cut, and with many
// lines waiting it stops reading until Next has given some.

#include "platform/terminal/line_reader.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

namespace platform {

namespace {

constexpr std::size_t MaxLineLength = 4096; // longer than any path that is accepted
constexpr std::size_t MaxLines = 1000;
constexpr auto BackgroundPause = std::chrono::milliseconds(200);

// As read, but waits also on a file that was set not to block, and in the background for as long as
// the user gives the terminal to another program.
ssize_t ReadSome(int file, char* buffer, std::size_t size) {
    for (;;) {
        pollfd waiting = {file, POLLIN, 0};
        ssize_t count = poll(&waiting, 1, -1) < 0 ? -1 : read(file, buffer, size);
        if (count < 0 && errno == EIO && tcgetpgrp(file) > 0) // fails once the terminal has gone
            std::this_thread::sleep_for(BackgroundPause);
        else if (count >= 0 || (errno != EINTR && errno != EAGAIN))
            return count;
    }
}

} // namespace

LineReader::LineReader(int file, std::function<void()> arrived)
    : file_(file), arrived_(std::move(arrived)) {}

std::optional<std::string> LineReader::Next() {
    const std::lock_guard lock(lock_);
    Start();
    if (lines_.empty())
        return std::nullopt;
    std::string line = std::move(lines_.front());
    lines_.pop_front();
    notFull_.notify_all();
    return line;
}

void LineReader::Discard() {
    const std::lock_guard lock(lock_);
    lines_.clear();
    tcflush(file_, TCIFLUSH); // fails where it is no terminal, and then nothing is lost
    notFull_.notify_all();
}

bool LineReader::AtEnd() {
    const std::lock_guard lock(lock_);
    return ended_ && lines_.empty();
}

void LineReader::End() {
    {
        const std::lock_guard lock(lock_);
        ended_ = true;
    }
    notFull_.notify_all();
    arrived_();
}

void LineReader::Start() {
    if (started_)
        return;
    started_ = true;
    std::thread([this] { Run(); }).detach();
}

void LineReader::Run() {
    char buffer[1024];
    std::string line;
    ssize_t count;
    while ((count = ReadSome(file_, buffer, sizeof(buffer))) > 0)
        SplitLines(buffer, static_cast<std::size_t>(count), line);
    if (!line.empty())
        Add(line);
    End();
}

void LineReader::SplitLines(const char* bytes, std::size_t count, std::string& line) {
    for (std::size_t i = 0; i < count; ++i) {
        if (bytes[i] == '\n')
            Add(std::exchange(line, {}));
        else if (bytes[i] != '\r' && line.size() < MaxLineLength)
            line.push_back(bytes[i]);
    }
}

void LineReader::Add(std::string line) {
    {
        std::unique_lock lock(lock_);
        notFull_.wait(lock, [this] { return ended_ || lines_.size() < MaxLines; });
        if (ended_)
            return;
        lines_.push_back(std::move(line));
    }
    arrived_();
}

} // namespace platform
