// module.dat: what counts as a name, and which files it removes from the handheld.

#include "images/module_list.h"

#include "testing/wizard_fixture.h"

#include <string_view>
#include <vector>

namespace {

using Names = std::vector<std::string>;

Names NamesOf(std::string_view list) {
    Names names;
    ForEachListedModule(list, [&names](const char* name) { names.emplace_back(name); });
    return names;
}

TEST(ModuleList, gives_every_well_formed_name_before_its_end) {
    using namespace std::string_view_literals;
    const std::string longest(259, 'n');
    const std::pair<std::string_view, Names> cases[] = {
        {"", {}},
        {"a.dll\r\nb.exe\r\n$ rest\r\nc.dll\r\n", {"a.dll", "b.exe"}},
        {"$a\r\nb\r\n$", {"$a", "b"}},   // the first line is a name whatever it starts with
        {"a\r\nb\r\n", {"a", "b"}},      // no end line
        {"a\r\nb", {"a", "b"}},          // no last CR LF
        {"a\r\n\r\nb\r\n$", {"a", "b"}}, // an empty line
        {"a\r\nb\nc\r\nd\r", {"a"}},     // LF or CR alone end no line
        {"a\r\nb\0c\r\nd\r\n"sv, {"a", "d"}},
        {"\r\n$", {}},
    };
    for (const auto& [list, names] : cases)
        EXPECT_EQ(names, NamesOf(list)) << list;
    EXPECT_EQ((Names{longest, "b"}), NamesOf(longest + "\r\n" + longest + "n\r\nb\r\n"));
}

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
    EXPECT_TRUE(IsOnDevice("Windows/two"));
}

TEST_F(ModuleFile, that_is_missing_is_reported) {
    Connect();
    std::filesystem::remove(Folder() / "module.dat");
    EXPECT_EQ(ModuleList::Missing, RemoveModulesOfFolder());
}

} // namespace
