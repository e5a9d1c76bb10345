// Opening, holding and setting up a port.
// label: threads

#include "tests/platform/port_fixture.h"

#include "platform/base/descriptor.h"
#include "platform/ports/port_open.h"

#include <grp.h>
#include <sys/file.h>
#include <sys/fsuid.h>
#include <sys/ioctl.h>
#include <termios.h>

namespace {

using namespace port_test;

using PortOpenTest = PortTest;

TEST_F(PortOpenTest, a_port_has_one_holder_in_all_processes_until_it_is_closed) {
    const std::string tty = home_ / "ports/COM1";
    const platform::Descriptor other(open(tty.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    const auto isFree = [&] { return flock(other.Number(), LOCK_EX | LOCK_NB) == 0; };
    Open();
    EXPECT_FALSE(isFree());
    Close();
    ASSERT_TRUE(isFree());
    EXPECT_EQ(INVALID_HANDLE_VALUE, OpenAs("\\\\.\\COM1"));
    EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, GetLastError());
    flock(other.Number(), LOCK_UN);
    Open();
    int exclusive = 1; // which a holder that is killed would leave behind
    ASSERT_EQ(0, ioctl(other.Number(), TIOCGEXCL, &exclusive));
    EXPECT_EQ(0, exclusive);
}

TEST_F(PortOpenTest, what_is_no_tty_is_not_found) {
    std::filesystem::create_symlink(home_ / "gone", home_ / "ports/COM8");
    std::filesystem::create_symlink("/dev/null", home_ / "ports/COM9");
    for (const char* name :
         {"\\\\.\\COM8", "\\\\.\\COM9", "\\\\.\\COM0", "\\\\.\\..\\ports\\COM1", "\\\\.\\"}) {
        SetLastError(0);
        EXPECT_EQ(INVALID_HANDLE_VALUE, OpenAs(name)) << name;
        EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError()) << name;
    }
}

// Also where root runs it, which as somebody else for a moment may no more than others.
TEST_F(PortOpenTest, who_may_not_use_a_tty_hears_which_group_may) {
    static std::string heard;
    platform::OnRefusedTty([](const std::string& tty, const std::string& group) {
        heard += tty + " (" + group + ")";
    });
    for (const auto& folder : {home_.parent_path(), home_, home_ / "ports"})
        chmod(folder.c_str(), 0711);
    const bool isRoot = geteuid() == 0;
    // Others than root have that group from the mount.
    EXPECT_TRUE(!isRoot || chown(ptsname(device_), 0, getgrnam("tty")->gr_gid) == 0);
    for (const mode_t mode : {0u, 0060u}) {
        ASSERT_EQ(0, chmod(ptsname(device_), mode));
        setfsuid(isRoot ? 65534 : geteuid());
        EXPECT_EQ(INVALID_HANDLE_VALUE, OpenAs("\\\\.\\COM1"));
        const DWORD error = GetLastError();
        setfsuid(geteuid());
        EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, error);
        EXPECT_EQ(mode == 0 ? "" : ptsname(device_) + std::string(" (tty)"), heard);
    }
}

TEST_F(PortOpenTest, a_closed_port_has_heard_nothing) {
    const int tty = open(ptsname(device_), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios raw = {};
    tcgetattr(tty, &raw);
    cfmakeraw(&raw);
    tcsetattr(tty, TCSANOW, &raw);
    SendFromDevice("old");
    int waiting = 0;
    ASSERT_TRUE(ComesTrue([&] { return ioctl(tty, FIONREAD, &waiting) == 0 && waiting == 3; }));
    Open();
    close(tty);
    ReadAtOnce();
    SendFromDevice("new");
    EXPECT_EQ("new", ReadFromPort(3));
}

} // namespace
