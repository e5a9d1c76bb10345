// Window records on disk.
//
// Every step runs under a lock on the folder's own file, which also holds the number given last,
// so that a number is not used again soon. A record's own lock tells that its process lives; the
// start time of the process guards against a copy of the lock that a forked child has kept.

#include "platform/window_records.h"

#include "platform/home.h"
#include "platform/process_identity.h"
#include "platform/text.h"

#include <windows.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <filesystem>
#include <sstream>

namespace platform {

namespace {

// Below the numbers of child windows, which are known in their own process alone.
constexpr DWORD FirstNumber = 0x00010000;
constexpr DWORD LastNumber = 0x2FFFFFFE;
constexpr DWORD FirstPrivateNumber = 0x30000000;
constexpr std::size_t LongestRecord = 4096;

std::string RecordPath(DWORD number) { return HomePath("windows/" + std::to_string(number)); }

class FolderLock {
public:
    FolderLock()
        : file_(open(HomePath("windows/.last").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        if (file_ >= 0)
            while (flock(file_, LOCK_EX) != 0 && errno == EINTR) {
            }
    }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    ~FolderLock() {
        if (file_ >= 0)
            close(file_);
    }

    bool Held() const { return file_ >= 0; }

    DWORD NextNumber() {
        DWORD last = 0;
        char text[16] = {};
        ssize_t length = pread(file_, text, sizeof(text) - 1, 0);
        if (length > 0)
            std::from_chars(text, text + length, last);
        DWORD next = last >= FirstNumber && last < LastNumber ? last + 2 : FirstNumber;
        std::string written = std::to_string(next) + "\n";
        if (pwrite(file_, written.data(), written.size(), 0) < 0)
            return next; // not kept: the file that bears the number will be found to exist
        return next;
    }

private:
    int file_;
};

std::string OneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

std::string Written(const WindowRecord& record) {
    std::ostringstream text;
    text << "pid=" << record.process << "\nstart=" << record.processStart
         << "\nthread=" << record.thread << "\nowner=" << record.owner << "\nstyle=" << record.style
         << "\nclass=" << OneLine(Utf8FromAnsi(record.className))
         << "\ntitle=" << OneLine(Utf8FromAnsi(record.title)) << "\n";
    return text.str().substr(0, LongestRecord);
}

bool WriteRecord(int file, const WindowRecord& record) {
    std::string text = Written(record);
    return pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()) &&
           ftruncate(file, static_cast<off_t>(text.size())) == 0;
}

template <class Number>
void ReadNumber(const std::string& text, Number& number) {
    std::from_chars(text.data(), text.data() + text.size(), number);
}

WindowRecord ParseRecord(const std::string& text) {
    WindowRecord record;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        auto equals = line.find('=');
        if (equals == std::string::npos)
            continue;
        std::string name = line.substr(0, equals), value = line.substr(equals + 1);
        if (name == "pid")
            ReadNumber(value, record.process);
        else if (name == "start")
            ReadNumber(value, record.processStart);
        else if (name == "thread")
            ReadNumber(value, record.thread);
        else if (name == "owner")
            ReadNumber(value, record.owner);
        else if (name == "style")
            ReadNumber(value, record.style);
        else if (name == "class")
            record.className = AnsiFromUtf8(value);
        else if (name == "title")
            record.title = AnsiFromUtf8(value);
    }
    return record;
}

// The record, or none where its process has died. Under the folder's lock.
std::optional<WindowRecord> ReadRecord(const std::string& path) {
    int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return std::nullopt;
    bool held = flock(file, LOCK_SH | LOCK_NB) != 0;
    char text[LongestRecord];
    ssize_t length = read(file, text, sizeof(text));
    close(file);
    WindowRecord record =
        ParseRecord(std::string(text, static_cast<std::size_t>(std::max<ssize_t>(length, 0))));
    if (!held || !ProcessIsAlive(record.process, record.processStart))
        return std::nullopt;
    return record;
}

std::optional<DWORD> NumberOfName(const std::string& name) {
    DWORD number = 0;
    auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error != std::errc() || end != name.data() + name.size() || number == 0)
        return std::nullopt;
    return number;
}

// Gives the record its number and its locked file; -1 where it cannot be made. Written before the
// folder is let go, so that nobody meets an empty record.
int MakeRecordFile(WindowRecord& record) {
    FolderLock folder;
    if (!folder.Held())
        return -1;
    constexpr int Attempts = 1000; // the numbers have come round: the next ones may be taken
    for (int i = 0; i < Attempts; ++i) {
        record.number = folder.NextNumber();
        int file =
            open(RecordPath(record.number).c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (file < 0 && errno != EEXIST)
            return -1;
        if (file < 0)
            continue;
        if (flock(file, LOCK_EX | LOCK_NB) == 0 && WriteRecord(file, record))
            return file;
        unlink(RecordPath(record.number).c_str());
        close(file);
        return -1;
    }
    return -1;
}

DWORD PrivateNumber() {
    static std::atomic<DWORD> last = FirstPrivateNumber;
    return last += 2;
}

} // namespace

OwnedWindowRecord::~OwnedWindowRecord() {
    if (file_ < 0)
        return;
    FolderLock folder;
    unlink(RecordPath(record_.number).c_str());
    close(file_);
}

void OwnedWindowRecord::SetTitle(const std::string& title) {
    record_.title = title;
    if (file_ < 0)
        return;
    FolderLock folder;
    WriteRecord(file_, record_); // a full disk leaves an old title, which is the best there is
}

std::unique_ptr<OwnedWindowRecord>
PublishWindow(const std::string& className, const std::string& title, DWORD owner, DWORD style) {
    WindowRecord record;
    record.process = GetCurrentProcessId();
    record.processStart = ProcessStartTime(record.process);
    record.thread = GetCurrentThreadId();
    record.owner = owner;
    record.style = style;
    record.className = className;
    record.title = title;
    int file = MakeRecordFile(record);
    if (file < 0)
        record.number = PrivateNumber();
    return std::make_unique<OwnedWindowRecord>(record, file);
}

std::vector<WindowRecord> ReadWindowRecords() {
    std::vector<WindowRecord> records;
    FolderLock folder;
    std::error_code failed;
    std::filesystem::directory_iterator entry(HomePath("windows"), failed), end;
    for (; !failed && entry != end; entry.increment(failed)) {
        auto number = NumberOfName(entry->path().filename().string());
        if (!number)
            continue;
        if (auto record = ReadRecord(entry->path().string())) {
            record->number = *number;
            records.push_back(std::move(*record));
        } else {
            unlink(entry->path().c_str());
        }
    }
    std::sort(records.begin(), records.end(),
              [](const auto& one, const auto& other) { return one.number > other.number; });
    return records;
}

std::optional<WindowRecord> FindWindowRecord(HWND window) {
    for (auto& record : ReadWindowRecords())
        if (record.number == NumberOfWindow(window))
            return record;
    return std::nullopt;
}

} // namespace platform
