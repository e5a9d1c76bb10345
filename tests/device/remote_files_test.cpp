// Files that the wizard puts onto the handheld, compared there.

#include "device/remote_files.h"

#include "device/file_copy.h"
#include "device/wide_text.h"
#include "testing/wizard_fixture.h"

namespace {

constexpr std::uint32_t Hidden = 0x02;

class RemoteFiles : public HandheldTest {
protected:
    bool Push(const std::string& content, const char* devicePath = "\\Temp\\pushed.bin") {
        WriteFileBytes(Folder() / "source.bin", content);
        return PushFile(WindowsPathOf(Folder() / "source.bin").c_str(), devicePath, "aside.bin");
    }
};

TEST_F(RemoteFiles, pushed_file_arrives_whole_and_hidden_at_any_size) {
    Connect();
    for (const std::size_t size : {0UL, 1UL, 4095UL, 4096UL, 4097UL, 70000UL}) {
        std::string content(size, '\0');
        for (std::size_t i = 0; i < size; ++i)
            content[i] = static_cast<char>(i * 7 + size);
        DeleteDeviceFile("\\Temp\\pushed.bin");
        EXPECT_TRUE(Push(content)) << size;
        EXPECT_EQ(content, OnDevice("Temp/pushed.bin")) << size;
        EXPECT_TRUE(Device().Attributes("Temp/pushed.bin") & Hidden) << size;
    }
}

// 0 would end the copy before its first byte, and one beyond the buffer run over it.
TEST_F(RemoteFiles, a_copy_is_whole_whatever_block_it_is_given) {
    Connect();
    WriteFileBytes(Folder() / "source.bin", std::string(20000, 'x'));
    for (const DWORD block : {DWORD{0}, MaxCopyBlock + 1, DWORD{0xFFFFFFFF}}) {
        EXPECT_TRUE(CopyToDevice(WindowsPathOf(Folder() / "source.bin").c_str(), block, [] {
            return CeCreateFile(u"\\Temp\\copy.bin", GENERIC_WRITE, 0, CREATE_ALWAYS, Hidden);
        }));
        EXPECT_EQ(std::string(20000, 'x'), OnDevice("Temp/copy.bin")) << block;
    }
}

TEST_F(RemoteFiles, file_in_the_way_is_set_aside_over_an_older_one) {
    Connect();
    WriteFileBytes(Device().File("Windows/pushed.bin"), "in the way");
    WriteFileBytes(Device().File("Temp/aside.bin"), "older");
    EXPECT_TRUE(Push("new", "\\Windows\\pushed.bin"));
    EXPECT_EQ("new", OnDevice("Windows/pushed.bin"));
    EXPECT_EQ("in the way", OnDevice("Temp/aside.bin"));
    EXPECT_TRUE(Device().Attributes("Windows/pushed.bin") & Hidden);
}

TEST_F(RemoteFiles, push_leaves_alone_what_it_cannot_set_aside) {
    Connect();
    WriteFileBytes(Device().File("Temp/folder/inside"), "inside");
    WriteFileBytes(Device().File("Windows/old.bin"), "old");
    for (const char16_t* fixed : {u"\\Windows\\fixed.bin", u"\\Temp\\aside.bin"})
        CeCloseHandle(CeCreateFile(fixed, GENERIC_WRITE, 0, CREATE_NEW, FILE_ATTRIBUTE_READONLY));
    EXPECT_FALSE(Push("new", "\\Temp\\folder"));
    EXPECT_FALSE(Push("new", "\\Windows\\fixed.bin"));
    EXPECT_FALSE(Push("new", "\\Windows\\old.bin")); // the name aside is in use for good
    EXPECT_EQ("inside", OnDevice("Temp/folder/inside"));
    EXPECT_EQ("", OnDevice("Windows/fixed.bin"));
    EXPECT_EQ("old", OnDevice("Windows/old.bin"));
    ExpectNoOpenHandles();
}

TEST_F(RemoteFiles, push_fails_where_source_or_target_folder_is_missing_or_nobody_answers) {
    Connect({.run = {"--drop-rapi-at", "dropped.bin"}});
    EXPECT_FALSE(PushFile(WindowsPathOf(Folder() / "none.bin").c_str(), "\\Temp\\none.bin", "x"));
    EXPECT_FALSE(IsOnDevice("Temp/none.bin"));
    EXPECT_FALSE(Push("new", "\\Nowhere\\pushed.bin"));
    EXPECT_FALSE(Push("new", ("\\Temp\\" + std::string(300, 'x')).c_str()));
    EXPECT_FALSE(Push("new", "\\Temp\\dropped.bin"));
    const HANDLE source = CreateFileA(WindowsPathOf(Folder() / "source.bin").c_str(), GENERIC_READ,
                                      0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, source); // nobody has it open any more
    CloseHandle(source);
}

TEST_F(RemoteFiles, names_are_widened_from_the_ansi_code_page) {
    Connect();
    WriteFileBytes(Folder() / "d\u00E9mo.bin", "accent");
    EXPECT_TRUE(PushFolderFile("D\xE9MO.BIN"));
    EXPECT_EQ("accent", OnDevice("Temp/d\u00E9mo.bin"));
    EXPECT_TRUE(DeleteDeviceFile("\\Temp\\d\xE9mo.bin"));
    EXPECT_FALSE(IsOnDevice("Temp/d\u00E9mo.bin"));
    EXPECT_FALSE(DeleteDeviceFile("\\Temp\\d\xE9mo.bin"));
}

TEST_F(RemoteFiles, text_that_does_not_fit_is_refused_whole) {
    char16_t wide[DevicePathCapacity];
    EXPECT_TRUE(WidenText(std::string(259, 'w').c_str(), wide));
    EXPECT_EQ(std::u16string(259, u'w'), wide);
    EXPECT_FALSE(WidenText(std::string(260, 'w').c_str(), wide));
    EXPECT_EQ(u'\0', wide[0]);
}

} // namespace
