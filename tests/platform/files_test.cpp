// Files by Windows' calls on the host's file system.

#include "tests/platform/own_home.h"

#include "platform/kernel/handles.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class Files : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::remove_all(ownHome.Work());
        std::filesystem::create_directory(ownHome.Work());
        std::filesystem::current_path(ownHome.Work());
        openAtStart_ = platform::OpenHandleCount();
    }
    void TearDown() override { EXPECT_EQ(platform::OpenHandleCount(), openAtStart_); }

private:
    int openAtStart_ = 0;
};

HANDLE Open(const char* name, DWORD access, DWORD disposition, DWORD share = 0) {
    return CreateFileA(name, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// 0 where the file could be opened, which is then closed again.
DWORD OpenError(const char* name, DWORD access, DWORD disposition, DWORD share = 0) {
    const HANDLE file = Open(name, access, disposition, share);
    return file != INVALID_HANDLE_VALUE && CloseHandle(file) ? 0 : GetLastError();
}

std::string ReadSome(HANDLE file, DWORD count) {
    std::string text(count, '\0');
    DWORD done = 0;
    EXPECT_TRUE(ReadFile(file, text.data(), count, &done, nullptr));
    return text.substr(0, done);
}

TEST_F(Files, what_cannot_be_opened_has_its_own_error) {
    WriteText("there", "x");
    std::filesystem::create_directory("folder");
    mkfifo("pipe", 0600);
    std::filesystem::create_symlink("/dev/zero", "zero");
    struct {
        const char* name;
        DWORD access, disposition, error;
    } const cases[] = {
        {"none", GENERIC_READ, OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
        {"none\\none", GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {"none\\none", GENERIC_WRITE, CREATE_ALWAYS, ERROR_PATH_NOT_FOUND},
        {"there\\none", GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {"", GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {"C:\\none", GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {"folder", GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"folder", GENERIC_WRITE, CREATE_ALWAYS, ERROR_ACCESS_DENIED},
        {"pipe", GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"zero", GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"zero", GENERIC_WRITE, CREATE_ALWAYS, ERROR_ACCESS_DENIED},
        {"wh?t", GENERIC_WRITE, CREATE_ALWAYS, ERROR_INVALID_NAME},
        {"there", GENERIC_WRITE, 4, ERROR_CALL_NOT_IMPLEMENTED},
    };
    for (const auto& [name, access, disposition, error] : cases)
        EXPECT_EQ(OpenError(name, access, disposition), error) << name << " " << disposition;
    EXPECT_EQ(ReadText("there"), "x");
}

// Whether a second open, of another process, is let in.
bool OtherProcessMayOpen(DWORD access, DWORD disposition, DWORD share) {
    const pid_t other = fork();
    if (other == 0)
        _exit(static_cast<int>(OpenError("data", access, disposition, share)));
    int status = 0;
    waitpid(other, &status, 0);
    EXPECT_TRUE(status == 0 || WEXITSTATUS(status) == ERROR_SHARING_VIOLATION);
    return status == 0;
}

TEST_F(Files, share_modes_hold_between_processes) {
    struct {
        DWORD access, share, otherAccess, otherShare;
        bool letIn;
    } const cases[] = {
        {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, true},
        {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, 0, false},
        {GENERIC_READ, 0, GENERIC_READ, FILE_SHARE_READ, false},
        {GENERIC_READ, FILE_SHARE_READ, GENERIC_WRITE, 0, false},
        {GENERIC_WRITE, 0, GENERIC_READ, FILE_SHARE_READ, false},
        {GENERIC_WRITE, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, false},
        {GENERIC_WRITE, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, true},
        {GENERIC_WRITE, FILE_SHARE_READ, GENERIC_WRITE, FILE_SHARE_READ, false},
    };
    for (const auto& [access, share, otherAccess, otherShare, letIn] : cases) {
        WriteText("data", "content");
        const HANDLE file = Open("data", access, OPEN_EXISTING, share);
        EXPECT_EQ(OtherProcessMayOpen(otherAccess, OPEN_EXISTING, otherShare), letIn)
            << access << "/" << share << " then " << otherAccess << "/" << otherShare;
        CloseHandle(file);
        EXPECT_TRUE(OtherProcessMayOpen(otherAccess, OPEN_EXISTING, otherShare));
    }
}

TEST_F(Files, a_refused_open_leaves_the_content) {
    WriteText("data", "content");
    const HANDLE file = Open("data", GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ);
    EXPECT_FALSE(OtherProcessMayOpen(GENERIC_WRITE, CREATE_ALWAYS, 0));
    EXPECT_EQ(ReadSome(file, 100), "content");
    CloseHandle(file);
}

TEST_F(Files, a_drive_alone_is_the_disk_of_the_current_folder) {
    std::filesystem::current_path("/proc"); // a file system without free space
    ULARGE_INTEGER freeToCaller{};
    freeToCaller.QuadPart = 1;
    EXPECT_TRUE(GetDiskFreeSpaceExA("Z:", &freeToCaller, nullptr, nullptr));
    EXPECT_EQ(freeToCaller.QuadPart, 0u);
    EXPECT_FALSE(GetDiskFreeSpaceExA("C:", &freeToCaller, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
}

std::vector<std::string> Find(const char* pattern) {
    std::vector<std::string> found;
    WIN32_FIND_DATAA data;
    const HANDLE search = FindFirstFileA(pattern, &data);
    if (search == INVALID_HANDLE_VALUE)
        return {"error " + std::to_string(GetLastError())};
    do {
        const bool folder = data.dwFileAttributes == FILE_ATTRIBUTE_DIRECTORY;
        found.push_back(std::string(data.cFileName) + (folder ? "\\" : ""));
    } while (FindNextFileA(search, &data));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
    EXPECT_TRUE(FindClose(search));
    return found;
}

TEST_F(Files, searches_find_one_name_or_all_in_their_order) {
    std::filesystem::create_directories("tree/folder.d");
    for (const char* name : {"b.NBF", "a.nbf", "noext", "C.txt", "\xC3\xA9t\xC3\xA9.nbf"})
        WriteText(ownHome.Work() / "tree" / name, "x");
    std::filesystem::create_symlink("/dev/zero", "tree/device.nbf");
    std::filesystem::create_symlink("nowhere", "tree/link");
    mkfifo("tree/pipe.nbf", 0600);
    using Names = std::vector<std::string>;
    EXPECT_EQ(Find("tree\\*.*"), (Names{".\\", "..\\", "a.nbf", "b.NBF", "C.txt", "folder.d\\",
                                        "link", "noext", "\xE9t\xE9.nbf"}));
    EXPECT_EQ(Find("Z:TREE/*.*"), Find("tree\\*.*"));
    EXPECT_EQ(Find("tree\\\xC9T\xC9.NBF"), Names{"\xE9t\xE9.nbf"});
    EXPECT_EQ(Find("tree\\NOEXT"), Names{"noext"});
    EXPECT_EQ(Find("tree"), Names{"tree\\"});
    EXPECT_EQ(Find("tree\\none"), Names{"error 2"});
    EXPECT_EQ(Find("tree\\*.nbf"), Names{"error 120"}) << "refused, not ignored";
    EXPECT_EQ(Find("tree\\"), Names{"error 2"});
    EXPECT_EQ(Find("none\\*.*"), Names{"error 3"});
    EXPECT_EQ(Find("Z:\\proc\\self\\stat").front(), "stat");
    const auto root = Find("Z:\\*.*"); // a root has no folder above it
    EXPECT_TRUE(std::find(root.begin(), root.end(), "..\\") == root.end());
}

TEST_F(Files, closing_twice_is_counted_and_closing_nothing_is_not) {
    const int before = platform::BadCloseCount();
    const HANDLE file = Open("data", GENERIC_WRITE, CREATE_ALWAYS);
    EXPECT_TRUE(CloseHandle(file));
    const HANDLE other = Open("data", GENERIC_READ, OPEN_EXISTING);
    EXPECT_FALSE(CloseHandle(file)); // and not the other one
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_TRUE(CloseHandle(other));
    EXPECT_FALSE(CloseHandle(nullptr));
    EXPECT_FALSE(CloseHandle(INVALID_HANDLE_VALUE));
    EXPECT_EQ(platform::BadCloseCount(), before + 1);
}

} // namespace
