// Reading and replacing the registry's file. Raw calls of the host throughout: the calls of the
// registry must not touch the last error.

#include "platform/registry_file.h"

#include "platform/descriptor.h"
#include "platform/errors.h"
#include "platform/home.h"
#include "platform/registry_text.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr std::size_t LargestFile = 64 * 1024 * 1024;
constexpr auto LongestLockWait = std::chrono::seconds(10);

std::string RegistryName() { return HomePath("registry.reg"); }

Descriptor Open(const std::string& path, int flags) {
    return Descriptor(open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, 0600));
}

LSTATUS HostError() { return static_cast<LSTATUS>(ErrorFromErrno(errno)); }

LSTATUS ReadWhole(const Descriptor& file, std::string& content) {
    char block[16384];
    for (;;) {
        const ssize_t count = read(file.Number(), block, sizeof(block));
        if (count < 0 && errno != EINTR)
            return HostError();
        if (count == 0)
            return ERROR_SUCCESS;
        if (count > 0)
            content.append(block, static_cast<std::size_t>(count));
        if (content.size() > LargestFile)
            return ERROR_REGISTRY_CORRUPT;
    }
}

// Once for each fault: the registry is read very often.
void TellFault(const std::string& fault) {
    static std::mutex lock;
    static auto& told = *new std::string;
    const std::lock_guard guard(lock);
    if (fault == told)
        return;
    told = fault;
    std::fprintf(stderr, "registry: read %s: %s; no value is read or written until it is mended\n",
                 RegistryName().c_str(), fault.c_str());
}

LSTATUS WriteWhole(const Descriptor& file, std::string_view content) {
    while (!content.empty()) {
        const ssize_t count = write(file.Number(), content.data(), content.size());
        if (count < 0 && errno != EINTR)
            return HostError();
        if (count > 0)
            content.remove_prefix(static_cast<std::size_t>(count));
    }
    return fsync(file.Number()) == 0 ? ERROR_SUCCESS : HostError();
}

LSTATUS WriteNewFile(const std::string& path, std::string_view content) {
    const Descriptor file = Open(path, O_WRONLY | O_CREAT | O_TRUNC);
    return file ? WriteWhole(file, content) : HostError();
}

// The rename itself is on the disk only once the folder is.
LSTATUS SyncFolder() {
    const Descriptor folder = Open(HomePath(""), O_RDONLY | O_DIRECTORY);
    return folder && fsync(folder.Number()) == 0 ? ERROR_SUCCESS : HostError();
}

LSTATUS StoreRegistry(const RegistryTree& tree) {
    const std::string newName = HomePath("registry.new");
    LSTATUS status = WriteNewFile(newName, FormatRegistry(tree));
    if (status == ERROR_SUCCESS && rename(newName.c_str(), RegistryName().c_str()) != 0)
        status = HostError();
    if (status == ERROR_SUCCESS)
        return SyncFolder();
    unlink(newName.c_str());
    return status;
}

// Tries again until the other writer is done. It waits for a moment at a time rather than in the
// lock itself, so that a stopped process cannot block this one for ever.
LSTATUS Lock(const Descriptor& file) {
    if (!file)
        return HostError();
    const auto end = std::chrono::steady_clock::now() + LongestLockWait;
    while (flock(file.Number(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return HostError();
        if (std::chrono::steady_clock::now() > end)
            return ERROR_BUSY;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return ERROR_SUCCESS;
}

} // namespace

LSTATUS ReadRegistry(RegistryTree& tree) {
    const Descriptor file = Open(RegistryName(), O_RDONLY);
    if (!file)
        return errno == ENOENT ? ERROR_SUCCESS : HostError();
    std::string content;
    std::string fault = "this is too large";
    const LSTATUS status = ReadWhole(file, content);
    if (status == ERROR_SUCCESS && ParseRegistry(content, tree, fault))
        return ERROR_SUCCESS;
    if (status != ERROR_SUCCESS && status != ERROR_REGISTRY_CORRUPT)
        return status;
    TellFault(fault);
    return ERROR_REGISTRY_CORRUPT;
}

LSTATUS ChangeRegistry(const std::function<RegistryChange(RegistryTree&)>& change) {
    const Descriptor lockFile = Open(HomePath("registry.lock"), O_RDWR | O_CREAT);
    RegistryTree tree;
    LSTATUS status = Lock(lockFile);
    if (status == ERROR_SUCCESS)
        status = ReadRegistry(tree);
    if (status != ERROR_SUCCESS)
        return status;
    const RegistryChange result = change(tree);
    return result.changed ? StoreRegistry(tree) : result.status;
}

} // namespace platform
