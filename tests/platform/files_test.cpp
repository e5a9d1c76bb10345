// Files and searches. Also on Windows.

#include "tests/platform/any_host.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace {

using any_host::ExpectDocumented;

HANDLE Open(const char* name, DWORD access, DWORD disposition, DWORD share = 0) {
    return CreateFileA(name, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// 0 where the file could be opened, which is then closed again.
DWORD OpenError(const char* name, DWORD access, DWORD disposition, DWORD share = 0) {
    const HANDLE file = Open(name, access, disposition, share);
    return file != INVALID_HANDLE_VALUE && CloseHandle(file) ? 0 : GetLastError();
}

// By Windows' calls, for names in its letters.
void Write(const char* name, const std::string& content) {
    const HANDLE file = Open(name, GENERIC_WRITE, CREATE_ALWAYS);
    DWORD done = 0;
    EXPECT_TRUE(WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &done, nullptr))
        << name;
    CloseHandle(file);
}

std::string Content(const char* name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class Files : public testing::Test {
protected:
    void SetUp() override {
        any_host::EnterEmptyFolder();
        Write("data", "content");
    }
};

TEST_F(Files, what_cannot_be_opened_has_its_own_error) {
    std::filesystem::create_directory("folder");
    struct {
        const char* name;
        DWORD access, disposition, error;
    } const cases[] = {
        {"none", GENERIC_READ, OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
        {"none\\none", GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {"none\\none", GENERIC_WRITE, CREATE_ALWAYS, ERROR_PATH_NOT_FOUND},
        {"data\\none", GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {"", GENERIC_READ, OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
        {"folder", GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"folder", GENERIC_WRITE, CREATE_ALWAYS, ERROR_ACCESS_DENIED},
        {"wh?t", GENERIC_WRITE, CREATE_ALWAYS, ERROR_INVALID_NAME},
    };
    for (const auto& [name, access, disposition, error] : cases)
        ExpectDocumented(std::string("an open of \"") + name + "\", " +
                             std::to_string(disposition) + ", gives " + std::to_string(error),
                         OpenError(name, access, disposition) == error);
    ExpectDocumented("OPEN_ALWAYS", OpenError("data", GENERIC_WRITE, 4) == 0);
    EXPECT_EQ(Content("data"), "content");
}

TEST_F(Files, share_modes_hold_between_processes_and_a_refused_open_leaves_the_content) {
    constexpr DWORD Read = FILE_SHARE_READ, Both = FILE_SHARE_READ | FILE_SHARE_WRITE;
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
        {GENERIC_WRITE, Read, GENERIC_READ, Both, true},
        {GENERIC_WRITE, Read, GENERIC_WRITE, Read, false},
    };
    for (const auto& [access, share, otherAccess, otherShare, letIn, disposition] : cases) {
        const auto errorOfOther = [&, otherAccess = otherAccess, otherShare = otherShare,
                                   disposition = disposition] {
            return any_host::InOtherProcess([&] {
                return static_cast<int>(OpenError("data", otherAccess, disposition, otherShare));
            });
        };
        const HANDLE file = Open("data", access, OPEN_EXISTING, share);
        EXPECT_EQ(errorOfOther(), letIn ? 0 : ERROR_SHARING_VIOLATION)
            << access << "/" << share << " then " << otherAccess << "/" << otherShare;
        CloseHandle(file);
        EXPECT_EQ(Content("data"), "content");
        EXPECT_EQ(errorOfOther(), 0);
        Write("data", "content");
    }
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
    EXPECT_TRUE(FindClose(search));
    return found;
}

TEST_F(Files, searches_find_one_name_or_all_in_their_order) {
    std::filesystem::create_directories("tree/folder.d");
    for (const char* name : {"b.NBF", "a.nbf", "noext", "C.txt", "\xE9t\xE9.nbf"})
        Write(("tree\\" + std::string(name)).c_str(), name);
    using Names = std::vector<std::string>;
    const std::pair<const char*, Names> cases[] = {
        {"tree\\*.*",
         {".\\", "..\\", "a.nbf 5", "b.NBF 5", "C.txt 5", "folder.d\\", "noext 5",
          "\xE9t\xE9.nbf 7"}},
        {"TREE/*.*", Find("tree\\*.*")},
        {"tree\\\xC9T\xC9.NBF", {"\xE9t\xE9.nbf 7"}},
        {"tree\\NOEXT", {"noext 5"}},
        {"tree", {"tree\\"}},
        {"tree\\none", {"error 2"}},
        {"tree\\", {"error 2"}},
        {"none\\*.*", {"error 3"}},
    };
    for (const auto& [pattern, names] : cases) {
        const Names found = Find(pattern);
        std::string text;
        for (const std::string& name : found)
            text += "[" + name + "]";
        SCOPED_TRACE("found " + text);
        ExpectDocumented(std::string("a search for ") + pattern, found == names);
    }
    ExpectDocumented("a search by *.nbf",
                     Find("tree\\*.nbf") == Names{"a.nbf 5", "b.NBF 5", "\xE9t\xE9.nbf 7"});
}

TEST(Text, comparisons_disregard_the_case_of_accented_letters_too) {
    EXPECT_EQ(lstrcmpiA("\xE9\x9A\x9C\x9E\xFF", "\xC9\x8A\x8C\x8E\x9F"), 0);
    EXPECT_NE(lstrcmpiA("\xD7", "\xF7"), 0); // two signs, not two cases
    EXPECT_NE(lstrcmpiA("[", "{"), 0);
    EXPECT_LT(lstrcmpiA("DccMan", "DccMan "), 0);
    EXPECT_GT(lstrcmpiA("b", "A"), 0);
}

TEST(Environment, names_of_variables_are_replaced_where_there_is_one) {
    char text[40] = "";
    EXPECT_EQ(ExpandEnvironmentStringsA("50% of %no such% and %", text, sizeof(text)), 23u);
    EXPECT_STREQ(text, "50% of %no such% and %");
    const DWORD length = ExpandEnvironmentStringsA("\"%PATH%\"", nullptr, 0);
    std::string path(length, '?');
    EXPECT_EQ(ExpandEnvironmentStringsA("\"%PATH%\"", path.data(), length), length);
    const char* value = std::getenv("PATH");
    ASSERT_TRUE(value);
    EXPECT_EQ(path, '"' + std::string(value) + '"' + '\0');
}

} // namespace
