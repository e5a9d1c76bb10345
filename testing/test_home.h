// A temporary folder for each test: the platform's home, a folder tree with images, a handheld; and
// its files read and written.
#pragma once

#include "testing/child_process.h"

#include <cstdint>
#include <filesystem>

namespace test_support {

// An image in a folder of the tree. The size is that of the file; the smallest that can be sent is
// 0x80020, one of 0x100020 has four pieces and the held-back block.
struct ImageOptions {
    std::string folder = "English";
    std::string file = "TOLKROM.nbf";
    std::string model = "TOLKP1000";
    std::string language = "ENG";
    std::string version = "2.00";
    std::uint32_t size = 0x100020;
    unsigned seed = 1;
};

class TestHome {
public:
    TestHome();
    // Ends a connection manager that the wizard started anew, and removes everything.
    ~TestHome();
    TestHome(const TestHome&) = delete;
    TestHome& operator=(const TestHome&) = delete;

    std::filesystem::path Path(const std::string& name = "") const { return root_ / name; }
    std::filesystem::path Home() const { return root_ / "home"; } // ROM_WIZARD_HOME
    std::filesystem::path Tree() const { return root_ / "tree"; } // where the wizard is started
    std::filesystem::path Device() const { return root_ / "device"; }

    // Makes the files that belong beside an image, and the image. Returns the image's path.
    std::filesystem::path AddLanguageFolder(const ImageOptions& options = {}) const;
    std::filesystem::path MakeImage(const ImageOptions& options = {}) const;

    // Makes the links of all ports dangle, since a port without a link is a real one of the
    // machine. A home starts so.
    void RemovePorts() const;

    // ROM_WIZARD_HOME, terminal display, clock rate 20, XDG_RUNTIME_DIR; what is given comes last
    // and wins.
    Environment Variables(const Environment& added = {}) const;

    // Waits until a connection manager that the wizard has started is there: a test that ends
    // earlier would leave it behind. Gives its process.
    pid_t AwaitConnectionManager() const;

    // Runs a command of handheld to its end: its exit code and its lines.
    std::pair<int, std::string> TryHandheld(const std::vector<std::string>& words) const;
    // As above; throws where the exit code is not 0.
    std::string RunHandheld(const std::vector<std::string>& words) const;

private:
    std::filesystem::path root_;
};

// One for all tests of a process, with its variables in the environment: the platform reads its
// home and its clock only once.
const TestHome& HomeOfTests();

// The whole file; empty where there is none.
std::string ReadBytes(const std::filesystem::path& path);
// The same of a file that has to be there: throws where it cannot be read.
std::vector<std::uint8_t> ReadFileBytes(const std::filesystem::path& path);
// Makes its folders, too.
void WriteFileBytes(const std::filesystem::path& path, const std::string& content);

// A file of the host by its name on Windows, where Z: is the root of the file system.
std::string WindowsPathOf(const std::filesystem::path& path);

} // namespace test_support
