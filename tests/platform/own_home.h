// A home folder of its own for a test program, set before anything of the layer reads it.
//
// A child that is forked must leave with _exit: its copy of this object would remove the folder
// under the test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <sys/stat.h>

class OwnHome {
public:
    OwnHome() {
        umask(022); // a home that others may write in is refused
        std::string name = (std::filesystem::temp_directory_path() / "platform-XXXXXX").string();
        if (!mkdtemp(name.data()))
            throw std::runtime_error("cannot make " + name);
        folder_ = name;
        setenv("ROM_WIZARD_HOME", (folder_ / "home").c_str(), 1);
        std::filesystem::create_directory(Work());
    }
    ~OwnHome() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    OwnHome(const OwnHome&) = delete;
    OwnHome& operator=(const OwnHome&) = delete;

    std::filesystem::path Home() const { return folder_ / "home"; }
    std::filesystem::path Work() const { return folder_ / "work"; }

private:
    std::filesystem::path folder_;
};

inline const OwnHome ownHome;

inline void WriteText(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string ReadText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
