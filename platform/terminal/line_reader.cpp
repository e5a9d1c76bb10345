// Reads lines on a thread of its own. What it keeps is bounded: a longer line is cut, and with many
// lines waiting it stops reading until Next has given some.

#include "platform/terminal/line_reader.h"

#include "platform/terminal/path_editor.h"

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

bool IsReadable(int file, int milliseconds) {
    pollfd waiting = {file, POLLIN, 0};
    return poll(&waiting, 1, milliseconds) > 0;
}

// Whether the user has given the terminal to another program for now: a read fails then.
bool IsInBackground(int file) {
    const pid_t group = tcgetpgrp(file); // fails once the terminal has gone
    return group > 0 && group != getpgrp();
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

void LineReader::EditPath(bool edit) {
    const std::lock_guard reading(reading_);
    edit ? OpenPathEditor() : ClosePathEditor();
}

void LineReader::Discard() {
    const std::lock_guard reading(reading_);
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
    std::string line;
    do {
        IsReadable(file_, -1);
        while (IsInBackground(file_))
            std::this_thread::sleep_for(BackgroundPause);
    } while (ReadWaiting(line));
    if (!line.empty())
        Add(line);
    End();
}

// False at the end of input. Does not wait, also on a file that was set not to block.
bool LineReader::ReadWaiting(std::string& line) {
    char buffer[1024];
    ssize_t count = 0;
    std::optional<std::string> path;
    {
        const std::lock_guard lock(reading_);
        if (!IsReadable(file_, 0))
            return true;
        if (IsPathEditorOpen())
            path = ReadIntoPathEditor();
        else if ((count = read(file_, buffer, sizeof(buffer))) <= 0)
            return count < 0 &&
                   (errno == EINTR || errno == EAGAIN || (errno == EIO && IsInBackground(file_)));
    }
    SplitLines(buffer, static_cast<std::size_t>(count), line);
    if (path)
        Add(path->substr(0, MaxLineLength));
    return true;
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
