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

    // The next line is edited as a path, on a terminal whose editor has been prepared
    // (path_editor.h), or no longer. Any thread, with nothing held that `arrived` needs.
    void EditPath(bool edit);

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
    bool ReadWaiting(std::string& line);
    void SplitLines(const char* bytes, std::size_t count, std::string& line);
    void Add(std::string line);

    const int file_;
    const std::function<void()> arrived_;
    // Taken before the other one: no other thread changes how the terminal reads, nor empties it,
    // between the news that something waits and the read of it.
    std::mutex reading_;
    std::mutex lock_;
    std::condition_variable notFull_;
    std::deque<std::string> lines_;
    bool started_ = false;
    bool ended_ = false;
};

} // namespace platform
