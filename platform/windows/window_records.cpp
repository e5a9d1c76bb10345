// Reads, writes and removes window records on disk.
//
// Every step runs under a lock on the folder's own file, which also holds the number used last,
// so that a number is not used again soon. Somebody may remove the folder under a running program,
// or keep its lock: the program's windows go on with numbers of their own. A record's own lock
// shows that its process lives; the start time of the process guards against a copy of the lock
// that a forked child has kept.

#include "platform/windows/window_records.h"

#include "platform/base/file_lock.h"
#include "platform/base/home.h"
#include "platform/base/text.h"
#include "platform/processes/process_identity.h"

#include <windows.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <mutex>
#include <sstream>
#include <utility>

namespace platform {

namespace {

// Below the numbers of child windows, which are known in their own process alone.
constexpr DWORD FirstNumber = 0x00010000;
constexpr DWORD LastNumber = 0x2FFFFFFE;
constexpr DWORD FirstPrivateNumber = 0x30000000;
constexpr std::size_t MaxRecordSize = 4096;

std::string RecordPath(DWORD number) { return HomePath("windows/" + std::to_string(number)); }

// A pipe under the name does not hold the caller.
Descriptor OpenFile(const std::string& path, int flags) {
    return Descriptor(open(path.c_str(), flags | O_NONBLOCK | O_CLOEXEC, 0600));
}

class FolderLock {
public:
    // Where a wait has run out the next one tries once, until the lock is free again: not every
    // window of a run may wait so long.
    FolderLock() : file_(OpenFile(HomePath("windows/.last"), O_RDWR | O_CREAT)) {
        static std::atomic<bool> stuck = false;
        const std::chrono::seconds limit = stuck ? std::chrono::seconds(0) : MaxLockWait;
        held_ = file_ && LockWithin(limit, file_) == 0;
        stuck = file_ && !held_;
    }

    bool Held() const { return held_; }

    // Above all that this process has had, whose windows may be there yet: the file is a new one
    // where the folder was removed. 0 where there is none left above.
    DWORD NextNumber() {
        static std::mutex numberLock; // the lock of a removed folder excludes nobody
        static DWORD lastUsed = 0;
        const std::lock_guard lock(numberLock);
        DWORD last = 0;
        char text[16] = {};
        ssize_t length = pread(file_.Number(), text, sizeof(text) - 1, 0);
        if (length > 0)
            std::from_chars(text, text + length, last);
        DWORD next = last >= FirstNumber && last < LastNumber ? last + 2 : FirstNumber;
        next = std::max(next, lastUsed + 2);
        if (next > LastNumber)
            return 0;
        lastUsed = next;
        std::string written = std::to_string(next) + "\n";
        if (pwrite(file_.Number(), written.data(), written.size(), 0) < 0)
            return next; // not kept: the file that bears the number will be found to exist
        return next;
    }

private:
    Descriptor file_;
    bool held_ = false;
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
    return text.str().substr(0, MaxRecordSize);
}

bool WriteRecord(const Descriptor& file, const WindowRecord& record) {
    std::string text = Written(record);
    return pwrite(file.Number(), text.data(), text.size(), 0) ==
               static_cast<ssize_t>(text.size()) &&
           ftruncate(file.Number(), static_cast<off_t>(text.size())) == 0;
}

// Whether the path still names the open file; another program may have a record there since.
bool IsSameFile(const std::string& path, const Descriptor& file) {
    struct stat there = {}, open = {};
    return stat(path.c_str(), &there) == 0 && fstat(file.Number(), &open) == 0 &&
           there.st_dev == open.st_dev && there.st_ino == open.st_ino;
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
    const Descriptor file = OpenFile(path, O_RDONLY);
    if (!file)
        return std::nullopt;
    bool held = flock(file.Number(), LOCK_SH | LOCK_NB) != 0;
    char text[MaxRecordSize];
    ssize_t length = read(file.Number(), text, sizeof(text));
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

// Assigns the record its number and makes its locked file; none where it cannot be made. Written
// before the folder is unlocked, so that nobody meets an empty record.
Descriptor MakeRecordFile(WindowRecord& record) {
    FolderLock folder;
    constexpr int Attempts = 1000; // the numbers have come round: the next ones may be in use
    for (int i = 0; folder.Held() && i < Attempts; ++i) {
        record.number = folder.NextNumber();
        if (record.number == 0)
            break;
        const std::string path = RecordPath(record.number);
        Descriptor file = OpenFile(path, O_RDWR | O_CREAT | O_EXCL);
        if (!file && errno == EEXIST)
            continue;
        if (file && flock(file.Number(), LOCK_EX | LOCK_NB) == 0 && WriteRecord(file, record))
            return file;
        if (file)
            unlink(path.c_str());
        break;
    }
    return {};
}

DWORD PrivateNumber() {
    static std::atomic<DWORD> last = FirstPrivateNumber;
    return last += 2;
}

} // namespace

// Where the folder's lock is not to be had the record stays for the next reader to remove.
OwnedWindowRecord::~OwnedWindowRecord() {
    if (!file_)
        return;
    FolderLock folder;
    const std::string path = RecordPath(record_.number);
    if (folder.Held() && IsSameFile(path, file_))
        unlink(path.c_str());
    file_ = {};
}

void OwnedWindowRecord::SetTitle(const std::string& title) {
    record_.title = title;
    if (!file_)
        return;
    FolderLock folder;
    if (folder.Held())
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
    Descriptor file = MakeRecordFile(record);
    if (!file)
        record.number = PrivateNumber();
    return std::make_unique<OwnedWindowRecord>(record, std::move(file));
}

std::vector<WindowRecord> ReadWindowRecords() {
    std::vector<WindowRecord> records;
    FolderLock folder;
    if (!folder.Held())
        return records;
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
