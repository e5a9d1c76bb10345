// Records of windows, which other programs write: one is no more than its number says, whatever it
// holds, and a window that this process publishes is read as it is.

#include "platform/windows/window_records.h"

#include "platform/base/home.h"
#include "testing/test_home.h"
#include "tests/fuzz/target.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using fuzz::Require;
using namespace platform;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    test_support::HomeOfTests();
    fuzz::Input input{{data, size}};
    const std::string title = input.Line();
    const auto window = PublishWindow("CLASS", title, 7, 0x80000000);
    // The record of another program, which holds it.
    const std::string path = HomePath("windows/1"),
                      alive = "pid=" + std::to_string(getpid()) + "\n";
    test_support::WriteFileBytes(path, alive + std::string(input.left.begin(), input.left.end()));
    const Descriptor other(open(path.c_str(), O_RDWR | O_CLOEXEC));
    flock(other.Number(), LOCK_EX);

    const auto records = ReadWindowRecords();
    unlink(path.c_str());
    Require(!records.empty() && records.size() <= 2 && records[0].number == window->Number());
    Require(records[0].owner == 7 && records[0].style == 0x80000000);
    Require(title.size() >= 1000 || (records[0].className == "CLASS" && records[0].title == title));
    Require(records.size() == 1 || (records[1].number == 1 && records[1].title.size() < 4096));
    return 0;
}
