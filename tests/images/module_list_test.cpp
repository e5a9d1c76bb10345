// module.dat: which files it removes from the handheld. What counts as a name is for
// tests/fuzz/module_list.cpp.

#include "images/module_list.h"

#include "testing/wizard_fixture.h"

namespace {

class ModuleFile : public HandheldTest {
protected:
    void PutOnDevice(const std::string& name) {
        WriteFileBytes(Device().File("Windows/" + name), "module");
    }
};

TEST_F(ModuleFile, removes_its_files_from_the_handheld_and_skips_those_it_lacks) {
    Connect();
    for (const char* name : {"one.dll", "two.dll", "kept.dll"})
        PutOnDevice(name);
    WriteFileBytes(Folder() / "module.dat", "none.dll\r\nONE.DLL\r\ntwo.dll\r\n$\r\nkept.dll\r\n");
    EXPECT_EQ(ModuleList::Removed, RemoveModulesOfFolder());
    EXPECT_FALSE(IsOnDevice("Windows/one.dll"));
    EXPECT_FALSE(IsOnDevice("Windows/two.dll"));
    EXPECT_TRUE(IsOnDevice("Windows/kept.dll"));
    EXPECT_EQ(ModuleList::Removed,
              RemoveModulesOfFolder()); // a second verification finds nothing to do
}

TEST_F(ModuleFile, of_absurd_size_never_cuts_a_name_to_that_of_another_file) {
    Connect();
    PutOnDevice("one.dll");
    PutOnDevice("two");
    std::string list = "one.dll\r\n";
    list += std::string(0x100000 - list.size() - 5, 'x') + "\r\ntwo.dll\r\nthree.dll\r\n";
    WriteFileBytes(Folder() / "module.dat", list); // the limit falls behind "two"
    EXPECT_EQ(ModuleList::Removed, RemoveModulesOfFolder());
    EXPECT_FALSE(IsOnDevice("Windows/one.dll"));
    for (const std::uintmax_t size : {0x100000003ULL, 0xFFFFFFFEULL}) { // of 3 bytes, in 32 bits
        WriteFileBytes(Folder() / "module.dat", "two" + std::string(size < 0x100000000, 'x'));
        std::filesystem::resize_file(Folder() / "module.dat", size);
        EXPECT_EQ(ModuleList::Removed, RemoveModulesOfFolder());
    }
    EXPECT_TRUE(IsOnDevice("Windows/two"));
    State.Paths.AppDirectory[0] = '\0'; // there is no folder
    EXPECT_EQ(ModuleList::Missing, RemoveModulesOfFolder());
}

} // namespace
