// Lines of input, read ahead by one thread, so that a thread that waits for messages never blocks
// in a read.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace platform {

// Never destroyed once it reads: its thread may be in a read for as long as the process lives.
class LineReader {
public:
    // `arrived` is called on the reading thread, with nothing held, for every line and at the end.
    LineReader(int file, std::function<void()> arrived);

    // The next line without its end, or none so far. Any thread; the first call starts the thread.
    std::optional<std::string> Next();

    // Throws away what has come and was not given by Next, on a terminal also a line that was
    // begun. Any thread.
    void Discard();

    // Whether Next has given all lines and no more will come.
    bool AtEnd();

    // Accepts no more lines than have come so far. Any thread, with nothing held.
    void End();

private:
    void Start();
    void Run();
    void SplitLines(const char* bytes, std::size_t count, std::string& line);
    void Add(std::string line);

    const int file_;
    const std::function<void()> arrived_;
    std::mutex lock_;
    std::condition_variable notFull_;
    std::deque<std::string> lines_;
    bool started_ = false;
    bool ended_ = false;
};

} // namespace platform
