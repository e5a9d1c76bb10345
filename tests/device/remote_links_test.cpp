// Links and folders of the handheld where the device refuses: what is on it afterwards.

#include "device/remote_folders.h"
#include "device/remote_links.h"
#include "testing/wizard_fixture.h"

namespace {

class RemoteLinks : public HandheldTest {
protected:
    void TearDown() override {
        ExpectNoOpenHandles();
        HandheldTest::TearDown();
    }
    // A file that the device neither replaces nor deletes.
    void AddReadOnly(const char16_t* path) {
        const CeHandle file = CeCreateFile(path, GENERIC_WRITE, 0, CREATE_ALWAYS, 1);
        ASSERT_NE(CeInvalidHandle, file);
        CeCloseHandle(file);
    }
    void AddFiles(std::initializer_list<const char*> names) {
        for (const char* name : names)
            WriteFileBytes(Device().File(name), name);
    }
};

TEST_F(RemoteLinks, a_folder_a_read_only_file_a_missing_folder_or_a_long_name_is_refused) {
    Connect();
    AddFiles({"Temp/folder.lnk/inside"});
    AddReadOnly(u"\\Temp\\fixed.lnk");
    const std::string tooLong(260, 'x');
    for (const std::string& name : {std::string("folder.lnk"), std::string("fixed.lnk"),
                                    std::string("no\\such.lnk"), tooLong}) {
        EXPECT_FALSE(WriteDeviceLink(u"\\Temp\\", name.c_str(), "21#:MSPIE")) << name;
        EXPECT_FALSE(DeleteDeviceLink(u"\\Temp\\", name.c_str())) << name;
    }
    EXPECT_FALSE(WriteDeviceFile(("\\Temp\\" + tooLong).c_str(), ""));
    EXPECT_EQ("", OnDevice("Temp/fixed.lnk"));
    EXPECT_TRUE(IsOnDevice("Temp/folder.lnk/inside"));
    EXPECT_FALSE(CreateDeviceFolder("\\Temp\\folder.lnk"));
    EXPECT_FALSE(CreateDeviceFolder("\\Nowhere\\folder"));
    EXPECT_FALSE(CreateDeviceFolder(tooLong.c_str()));
}

TEST_F(RemoteLinks, a_link_in_use_stays) {
    Connect();
    AddFiles({"Temp/used.lnk"});
    const CeHandle reader =
        CeCreateFile(u"\\Temp\\used.lnk", GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, 0);
    EXPECT_FALSE(DeleteDeviceLink(u"\\Temp\\", "used.lnk"));
    EXPECT_FALSE(WriteDeviceLink(u"\\Temp\\", "used.lnk", "new"));
    CeCloseHandle(reader);
    EXPECT_EQ("Temp/used.lnk", OnDevice("Temp/used.lnk"));
}

TEST_F(RemoteLinks, a_folder_goes_with_its_files_or_up_to_the_first_that_stays) {
    Connect();
    AddFiles({"Temp/group/a.lnk", "Temp/group/b.txt"});
    EXPECT_TRUE(RemoveDeviceFolder("\\Temp\\group"));
    EXPECT_FALSE(IsOnDevice("Temp/group"));
    EXPECT_FALSE(RemoveDeviceFolder("\\Temp\\group"));
    EXPECT_TRUE(CreateDeviceFolder("\\Temp\\group"));
    AddFiles({"Temp/group/a.lnk", "Temp/group/c.lnk"});
    AddReadOnly(u"\\Temp\\group\\b.lnk");
    EXPECT_FALSE(RemoveDeviceFolder("\\Temp\\group"));
    EXPECT_FALSE(IsOnDevice("Temp/group/a.lnk"));
    EXPECT_TRUE(IsOnDevice("Temp/group/b.lnk") && IsOnDevice("Temp/group/c.lnk"));
    AddFiles({"Temp/outer/inner/x"}); // passed over, and in the way of the removal
    EXPECT_FALSE(RemoveDeviceFolder("\\Temp\\outer"));
    EXPECT_TRUE(IsOnDevice("Temp/outer/inner/x"));
    for (int number = 0; number < 1001; ++number) // one more than a listing may have
        AddFiles({("Temp/many/" + std::to_string(number)).c_str()});
    EXPECT_FALSE(RemoveDeviceFolder("\\Temp\\many"));
    EXPECT_TRUE(RemoveDeviceFolder("\\Temp\\many")); // the one that was left
}

TEST_F(RemoteLinks, links_are_copied_past_one_that_is_there_already) {
    Connect();
    AddFiles({"Temp/from/a.lnk", "Temp/from/b.lnk", "Temp/from/c.txt", "Temp/from/d.lnk/x",
              "Temp/to/a.lnk"});
    CopyDeviceLinks("\\Temp\\from", "\\Temp\\to");
    EXPECT_EQ("Temp/to/a.lnk", OnDevice("Temp/to/a.lnk"));
    EXPECT_EQ("Temp/from/b.lnk", OnDevice("Temp/to/b.lnk"));
    EXPECT_FALSE(IsOnDevice("Temp/to/c.txt") || IsOnDevice("Temp/to/d.lnk"));
    CopyDeviceLinks("\\Temp\\nowhere", "\\Temp\\to");
}

} // namespace
