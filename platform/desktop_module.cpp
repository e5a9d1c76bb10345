// Finds and loads the module: beside the program where that is a build's, else where it is
// installed. Nowhere else, since what is loaded can do all that the program can.

#include "platform/desktop_module.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace platform {

namespace {

namespace fs = std::filesystem;

constexpr int NoSuchDisplay = 2; // exit code

bool IsSet(const char* name) {
    const char* value = std::getenv(name);
    return value && *value;
}

bool IsNamed() {
    const char* display = std::getenv("ROM_WIZARD_DISPLAY");
    return display && std::strcmp(display, "desktop") == 0;
}

// Never unloaded: threads of the program may still show something while the process ends.
void* LoadModule() {
    std::error_code failed;
    const fs::path folder = fs::read_symlink("/proc/self/exe", failed).parent_path();
    for (const char* place : {".", DESKTOP_MODULE_FOLDER}) {
        const fs::path file = folder / place / DESKTOP_MODULE;
        if (access(file.c_str(), F_OK) == 0)
            return dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    }
    return nullptr;
}

} // namespace

RunOnDesktopFunction* WantedDesktop() {
    const bool named = IsNamed();
    const bool hasSession = IsSet("WAYLAND_DISPLAY") || IsSet("DISPLAY");
    if (!named && (IsSet("ROM_WIZARD_DISPLAY") || !hasSession))
        return nullptr;
    if (void* module = LoadModule()) {
        const auto isThere = reinterpret_cast<bool (*)()>(dlsym(module, "DesktopIsThere"));
        const auto run = reinterpret_cast<RunOnDesktopFunction*>(dlsym(module, "RunOnDesktop"));
        if (isThere && run)
            return named || isThere() ? run : nullptr;
    }
    const char* reason = dlerror();
    if (named || reason)
        std::fprintf(stderr, "the display 'desktop' is not there: %s\n",
                     reason ? reason : "it is not installed");
    if (named)
        _exit(NoSuchDisplay);
    return nullptr;
}

} // namespace platform
