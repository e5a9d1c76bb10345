// Files by Windows' calls on the host's file system.

#include "testing/child_process.h"
#include "testing/test_home.h"

#include "platform/kernel/handles.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace {

using test_support::HomeOfTests;
using test_support::ReadBytes;
using test_support::WriteFileBytes;

class Files : public testing::Test {
protected:
    void SetUp() override {
        const auto work = HomeOfTests().Path("work");
        std::filesystem::remove_all(work);
        std::filesystem::create_directory(work);
        std::filesystem::current_path(work);
        WriteFileBytes(work / "data", "content");
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

TEST_F(Files, what_cannot_be_opened_has_its_own_error) {
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
        {"data\\none", GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {"", GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {"C:\\none", GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {"folder", GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"folder", GENERIC_WRITE, CREATE_ALWAYS, ERROR_ACCESS_DENIED},
        {"pipe", GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"zero", GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"zero", GENERIC_WRITE, CREATE_ALWAYS, ERROR_ACCESS_DENIED},
        {"wh?t", GENERIC_WRITE, CREATE_ALWAYS, ERROR_INVALID_NAME},
        {"data", GENERIC_WRITE, 4, ERROR_CALL_NOT_IMPLEMENTED},
    };
    for (const auto& [name, access, disposition, error] : cases)
        EXPECT_EQ(OpenError(name, access, disposition), error) << name << " " << disposition;
    EXPECT_EQ(ReadBytes("data"), "content");
}

TEST_F(Files, share_modes_hold_between_processes_and_a_refused_open_leaves_the_content) {
    constexpr DWORD Read = FILE_SHARE_READ, Write = FILE_SHARE_WRITE;
    struct {
        DWORD access, share, otherAccess, otherShare;
        bool letIn;
        DWORD otherDisposition = OPEN_EXISTING;
    } const cases[] = {
        {GENERIC_READ, Read, GENERIC_READ, Read, true},
        {GENERIC_READ, Read, GENERIC_READ, 0, false},
        {GENERIC_READ, 0, GENERIC_READ, Read, false},
        {GENERIC_READ, Read, GENERIC_WRITE, 0, false, CREATE_ALWAYS},
        {GENERIC_WRITE, 0, GENERIC_READ, Read, false},
        {GENERIC_WRITE, Read, GENERIC_READ, Read, false},
        {GENERIC_WRITE, Read, GENERIC_READ, Read | Write, true},
        {GENERIC_WRITE, Read, GENERIC_WRITE, Read, false},
    };
    for (const auto& [access, share, otherAccess, otherShare, letIn, disposition] : cases) {
        const auto errorOfOther = [&, otherAccess = otherAccess, otherShare = otherShare,
                                   disposition = disposition] {
            test_support::ChildProcess other([&] {
                return static_cast<int>(OpenError("data", otherAccess, disposition, otherShare));
            });
            return other.Wait();
        };
        const HANDLE file = Open("data", access, OPEN_EXISTING, share);
        EXPECT_EQ(errorOfOther(), letIn ? 0 : ERROR_SHARING_VIOLATION)
            << access << "/" << share << " then " << otherAccess << "/" << otherShare;
        EXPECT_EQ(ReadBytes("data"), "content");
        CloseHandle(file);
        EXPECT_EQ(errorOfOther(), 0);
        WriteFileBytes(std::filesystem::absolute("data"), "content");
    }
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

// What is found, a folder with \ and a file with its size behind its name.
std::vector<std::string> Find(const char* pattern) {
    std::vector<std::string> found;
    WIN32_FIND_DATAA data;
    const HANDLE search = FindFirstFileA(pattern, &data);
    if (search == INVALID_HANDLE_VALUE)
        return {"error " + std::to_string(GetLastError())};
    do {
        const bool folder = data.dwFileAttributes == FILE_ATTRIBUTE_DIRECTORY;
        found.push_back(data.cFileName + (folder ? "\\" : " " + std::to_string(data.nFileSizeLow)));
    } while (FindNextFileA(search, &data));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
    EXPECT_FALSE(CloseHandle(search)) << "it is closed by its own call";
    EXPECT_TRUE(FindClose(search));
    return found;
}

TEST_F(Files, searches_find_one_name_or_all_in_their_order) {
    std::filesystem::create_directories("tree/folder.d");
    for (const char* name : {"b.NBF", "a.nbf", "noext", "C.txt", "\xC3\xA9t\xC3\xA9.nbf"})
        WriteFileBytes(std::filesystem::absolute("tree") / name, name);
    std::filesystem::create_symlink("/dev/zero", "tree/device.nbf");
    mkfifo("tree/pipe.nbf", 0600);
    using Names = std::vector<std::string>;
    const std::pair<const char*, Names> cases[] = {
        {"tree\\*.*",
         {".\\", "..\\", "a.nbf 5", "b.NBF 5", "C.txt 5", "folder.d\\", "noext 5",
          "\xE9t\xE9.nbf 9"}},
        {"Z:TREE/*.*", Find("tree\\*.*")},
        {"tree\\\xC9T\xC9.NBF", {"\xE9t\xE9.nbf 9"}},
        {"tree\\NOEXT", {"noext 5"}},
        {"tree", {"tree\\"}},
        {"tree\\none", {"error 2"}},
        {"tree\\", {"error 2"}},
        {"none\\*.*", {"error 3"}},
        {"tree\\*.nbf", {"error 120"}}, // refused, not ignored
    };
    for (const auto& [pattern, names] : cases)
        EXPECT_EQ(Find(pattern), names) << pattern;
    const auto root = Find("Z:\\*.*");
    EXPECT_TRUE(std::ranges::find(root, "..\\") == root.end()) << "there is none above it";
}

TEST_F(Files, closing_twice_is_counted_and_closing_nothing_is_not) {
    const int before = platform::BadCloseCount();
    const HANDLE file = Open("data", GENERIC_READ, OPEN_EXISTING);
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
