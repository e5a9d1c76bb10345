// A program of a test's own that shows pages on the terminal display, led over pipes or a
// pseudo-terminal. It is forked off, so the test must have no threads then.
#pragma once

#include <gtest/gtest.h>

#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>

namespace window_support {

class PageProgram {
public:
    explicit PageProgram(const std::function<int()>& body, bool terminal = false) {
        int in[2], out[2];
        EXPECT_EQ(pipe(in), 0);
        EXPECT_EQ(terminal ? openpty(&out[0], &out[1], nullptr, nullptr, nullptr) : pipe(out), 0);
        std::fflush(nullptr);
        process_ = fork();
        if (process_ == 0) {
            alarm(LimitSeconds);
            dup2(in[0], STDIN_FILENO);
            dup2(out[1], STDOUT_FILENO);
            for (int file : {in[0], in[1], out[0], out[1]})
                close(file);
            int exitCode = body();
            std::fflush(nullptr);
            _exit(exitCode);
        }
        close(in[0]);
        close(out[1]);
        input_ = in[1];
        output_ = out[0];
    }
    ~PageProgram() {
        CloseInput();
        Kill();
        close(output_);
    }
    PageProgram(const PageProgram&) = delete;
    PageProgram& operator=(const PageProgram&) = delete;

    void Send(const std::string& text) {
        EXPECT_EQ(write(input_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    void CloseInput() {
        if (input_ >= 0)
            close(input_);
        input_ = -1;
    }

    // All that it prints, up to and with the text; without it all to the end.
    std::string Until(const std::string& text) {
        std::size_t found;
        while ((found = pending_.find(text)) == std::string::npos && ReadMore()) {
        }
        EXPECT_NE(found, std::string::npos) << text << " is not in:\n" << pending_;
        std::size_t end = found == std::string::npos ? pending_.size() : found + text.size();
        std::string read = pending_.substr(0, end);
        pending_.erase(0, end);
        return read;
    }

    // All that is left to read, and the exit code.
    std::string Rest() {
        while (ReadMore()) {
        }
        return std::exchange(pending_, {});
    }
    pid_t Id() const { return process_; }
    void Kill() {
        if (process_ > 0 && kill(process_, SIGKILL) == 0)
            Finish();
    }
    int Finish() {
        int status = 0;
        waitpid(process_, &status, 0);
        process_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

private:
    static constexpr unsigned LimitSeconds = 120;

    bool ReadMore() {
        char buffer[1000];
        ssize_t count = read(output_, buffer, sizeof(buffer));
        if (count <= 0)
            return false;
        pending_.append(buffer, static_cast<std::size_t>(count));
        return true;
    }

    pid_t process_ = -1;
    int input_ = -1, output_ = -1;
    std::string pending_;
};

} // namespace window_support
