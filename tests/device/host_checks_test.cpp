// What the wizard reads from the PC's registry: ActiveSync's version, old systems, the port's name.

#include "device/host_checks.h"

#include "testing/registry_values.h"
#include "testing/wizard_fixture.h"

#include <cstring>

namespace {

using test_support::StoreText;
using test_support::StoreValue;

constexpr char ActiveSync[] = "SOFTWARE\\Microsoft\\Windows CE Services";
constexpr char Windows[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion";
constexpr char WindowsNT[] = "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";

class HostChecks : public WizardTest {
protected:
    void SetUp() override {
        WizardTest::SetUp();
        for (const char* key : {ActiveSync, Windows, WindowsNT})
            RegDeleteKeyA(HKEY_LOCAL_MACHINE, key);
    }

    static void StoreNumber(const char* name, DWORD number) {
        StoreValue(HKEY_LOCAL_MACHINE, ActiveSync, name, REG_DWORD,
                   std::string(reinterpret_cast<const char*>(&number), sizeof(number)));
    }
    static void StoreBareText(const char* keyName, const char* name, const std::string& text) {
        StoreValue(HKEY_LOCAL_MACHINE, keyName, name, REG_SZ, text); // without its terminator
    }

    static std::string PortName() {
        char name[32];
        std::memset(name, 'x', sizeof(name));
        ReadSerialPortName(name);
        return name;
    }
};

TEST_F(HostChecks, activesync_is_new_enough_from_3_5_on) {
    EXPECT_FALSE(ActiveSyncVersionOk()); // not installed
    struct Case {
        DWORD major, minor;
        bool ok;
    };
    for (const Case& it : {Case{3, 5, true},
                           {3, 4, false},
                           {2, 9, false},
                           {4, 0, true},
                           {3, 10, true},
                           {0, 35, true},
                           {0, 0, false}}) {
        StoreNumber("MajorVersion", it.major);
        StoreNumber("MinorVersion", it.minor);
        EXPECT_EQ(it.ok, ActiveSyncVersionOk()) << it.major << '.' << it.minor;
    }
}

TEST_F(HostChecks, activesync_values_that_are_missing_or_too_large_count_as_0) {
    StoreNumber("MajorVersion", 4);
    EXPECT_TRUE(ActiveSyncVersionOk());
    StoreText(ActiveSync, "MajorVersion", "4.000");
    EXPECT_FALSE(ActiveSyncVersionOk());
}

TEST_F(HostChecks, old_systems_are_recognised_by_the_whole_text) {
    EXPECT_FALSE(IsWindows95());
    StoreText(Windows, "ProductName", "microsoft windows 95");
    EXPECT_TRUE(IsWindows95());
    StoreText(Windows, "ProductName", "Microsoft Windows 98");
    EXPECT_FALSE(IsWindows95());
    EXPECT_FALSE(IsOldWindowsNT());
    for (const auto& [version, old] :
         {std::pair{"4.0", true}, {"3.51", true}, {"4.00", false}, {"5.0", false}, {"", false}}) {
        StoreText(WindowsNT, "CurrentVersion", version);
        EXPECT_EQ(old, IsOldWindowsNT()) << version;
    }
    StoreBareText(WindowsNT, "CurrentVersion", "4.0");
    EXPECT_TRUE(IsOldWindowsNT());
    StoreText(WindowsNT, "CurrentVersion", std::string(200, '4'));
    EXPECT_FALSE(IsOldWindowsNT());
}

TEST_F(HostChecks, port_name_gets_its_colon) {
    EXPECT_EQ("", PortName());
    StoreNumber("MajorVersion", 3);
    EXPECT_EQ("", PortName());
    StoreText(ActiveSync, "SERIALPORT", "COM2");
    EXPECT_EQ("COM2:", PortName());
    StoreBareText(ActiveSync, "SERIALPORT", "COM3");
    EXPECT_EQ("COM3:", PortName());
}

TEST_F(HostChecks, port_name_is_empty_where_no_port_has_such_a_name_or_the_search_breaks_off) {
    StoreText(ActiveSync, "SerialPort", std::string(30, 'P'));
    EXPECT_EQ(std::string(30, 'P') + ":", PortName());
    StoreText(ActiveSync, "SerialPort", std::string(31, 'P'));
    EXPECT_EQ("", PortName());
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, ActiveSync);
    StoreText(ActiveSync, "A long one", std::string(200, 'x')); // comes before the port
    StoreText(ActiveSync, "SerialPort", "COM1");
    EXPECT_EQ("", PortName());
}

TEST_F(HostChecks, port_name_is_read_only_for_a_run_that_needs_the_port) {
    StoreText(ActiveSync, "SerialPort", "COM1");
    State.Run.SerialLinkSelected = false;
    EXPECT_EQ("", PortName());
    State.Run.BootloaderResume = true;
    EXPECT_EQ("COM1:", PortName());
}

} // namespace
