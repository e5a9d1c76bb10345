// Chooses, makes and checks the home folder of the layer's state.
//
// It is chosen at the first use and made absolute then: a file dialog may change the current
// directory later, and the registry must not move with it. It is judged then, too: a window record
// names a process to end, and a port link a device to write to, so nobody else may put one there.

#include "platform/base/home.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr int UnsafeHome = 2; // exit code

fs::path Setting(const char* name) {
    const char* value = std::getenv(name);
    return value ? fs::path(value) : fs::path();
}

fs::path UserFolder() {
    if (auto home = Setting("HOME"); home.is_absolute())
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

// Ends the program where somebody else could have written into the folder.
void RequireOwn(const fs::path& folder) {
    struct stat status;
    if (stat(folder.c_str(), &status) != 0)
        return; // it will be made by us, or its user meets the reason
    if (status.st_uid != geteuid())
        std::fprintf(stderr,
                     "ROM_WIZARD_HOME: %s belongs to user %u, not to user %u who runs this; name a "
                     "folder of your own\n",
                     folder.c_str(), status.st_uid, geteuid());
    else if (status.st_mode & (S_IWGRP | S_IWOTH))
        std::fprintf(stderr,
                     "ROM_WIZARD_HOME: others may write in %s (mode %04o); name a folder of your "
                     "own, or look through this one and chmod go-w it\n",
                     folder.c_str(), status.st_mode & 07777u);
    else
        return;
    _exit(UnsafeHome);
}

fs::path PrepareHome() {
    fs::path home = ChooseHome();
    MakeFolders(home);
    for (const fs::path& folder : {home, home / "windows", home / "ports"})
        RequireOwn(folder);
    return home;
}

} // namespace

std::string HomePath(const std::string& name) {
    static const auto& home = *new fs::path(PrepareHome());
    const fs::path path = home / name;
    MakeFolders(path.parent_path());
    return path.string();
}

} // namespace platform
