// The home folder of the layer's state.
//
// Its place is fixed at the first use and made absolute then: a file dialog may change the current
// directory later, and the registry must not move with it.

#include "platform/home.h"

#include <cstdlib>
#include <filesystem>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

namespace fs = std::filesystem;

fs::path Setting(const char* name) {
    const char* value = std::getenv(name);
    return value ? fs::path(value) : fs::path();
}

fs::path UserFolder() {
    if (const auto home = Setting("HOME"); home.is_absolute())
        return home;
    const passwd* user = getpwuid(getuid());
    return user ? user->pw_dir : "/";
}

fs::path ChooseHome() {
    std::error_code error;
    if (const auto home = Setting("ROM_WIZARD_HOME"); !home.empty())
        return fs::absolute(home, error).lexically_normal();
    const auto state = Setting("XDG_STATE_HOME");
    return (state.is_absolute() ? state : UserFolder() / ".local/state") / "rom-wizard";
}

// Best effort: whoever opens a file in a folder that could not be made reports it.
void MakeFolders(const fs::path& folder) {
    std::error_code error;
    if (fs::is_directory(folder, error))
        return;
    fs::path made;
    for (const auto& part : folder) {
        made /= part;
        mkdir(made.c_str(), 0700);
    }
}

} // namespace

std::string HomePath(const std::string& name) {
    static const auto& home = *new fs::path(ChooseHome());
    const fs::path path = home / name;
    MakeFolders(path.parent_path());
    return path.string();
}

} // namespace platform
