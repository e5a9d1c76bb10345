// Files of the host that are none of Windows, its disks, and handles that are counted.

#include "tests/platform/any_host.h"

#include "platform/kernel/handles.h"

#include <algorithm>

#include <sys/stat.h>

namespace {

class HostFiles : public testing::Test {
protected:
    void SetUp() override {
        const auto folder = any_host::EnterEmptyFolder();
        test_support::WriteFileBytes(folder / "data", "content");
        mkfifo("pipe", 0600);
        std::filesystem::create_symlink("/dev/zero", "zero");
    }
};

HANDLE Open(const char* name, DWORD access, DWORD disposition) {
    return CreateFileA(name, access, 0, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

TEST_F(HostFiles, devices_and_pipes_are_neither_opened_nor_found) {
    const struct {
        const char* name;
        DWORD access, disposition, error;
    } cases[] = {
        {"pipe", GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"zero", GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"zero", GENERIC_WRITE, CREATE_ALWAYS, ERROR_ACCESS_DENIED},
        {"C:\\none", GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
    };
    for (const auto& [name, access, disposition, error] : cases) {
        EXPECT_EQ(Open(name, access, disposition), INVALID_HANDLE_VALUE) << name;
        EXPECT_EQ(GetLastError(), error) << name;
    }
    const auto found = [](const char* pattern) {
        std::string names;
        WIN32_FIND_DATAA data;
        const HANDLE search = FindFirstFileA(pattern, &data);
        do
            names += std::string(data.cFileName) + ' ';
        while (FindNextFileA(search, &data));
        EXPECT_FALSE(CloseHandle(search)) << "it is closed by its own call";
        FindClose(search);
        return names;
    };
    EXPECT_EQ(found("*.*"), ". .. data ");
    EXPECT_EQ(found("Z:\\*.*").find(".. "), std::string::npos) << "there is none above it";
}

TEST_F(HostFiles, a_drive_alone_is_the_disk_of_the_current_folder) {
    std::filesystem::current_path("/proc"); // a file system without free space
    ULARGE_INTEGER freeToCaller{};
    freeToCaller.QuadPart = 1;
    EXPECT_TRUE(GetDiskFreeSpaceExA("Z:", &freeToCaller, nullptr, nullptr));
    EXPECT_EQ(freeToCaller.QuadPart, 0u);
    EXPECT_FALSE(GetDiskFreeSpaceExA("C:", &freeToCaller, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST_F(HostFiles, closing_twice_is_counted_and_closing_nothing_is_not) {
    const int open = platform::OpenHandleCount(), before = platform::BadCloseCount();
    const HANDLE file = Open("data", GENERIC_READ, OPEN_EXISTING);
    EXPECT_TRUE(CloseHandle(file));
    const HANDLE other = Open("data", GENERIC_READ, OPEN_EXISTING);
    EXPECT_FALSE(CloseHandle(file)); // and not the other one
    EXPECT_TRUE(CloseHandle(other));
    EXPECT_FALSE(CloseHandle(nullptr));
    EXPECT_FALSE(CloseHandle(INVALID_HANDLE_VALUE));
    EXPECT_EQ(platform::BadCloseCount(), before + 1);
    EXPECT_EQ(platform::OpenHandleCount(), open);
}

} // namespace
