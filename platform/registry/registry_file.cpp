// Reading and replacing the registry's file. Raw calls of the host throughout: the calls of the
// registry must not touch the last error.
//
// What was read last is cached, since a reader enumerates the values of a key one call at a time.
// It is used again as long as the file has not been touched, or holds the same text.

#include "platform/registry/registry_file.h"

#include "platform/base/descriptor.h"
#include "platform/base/errors.h"
#include "platform/base/file_lock.h"
#include "platform/base/home.h"
#include "platform/registry/registry_text.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

// A thousand times what is ever in it. More would take its readers seconds, and keys that go deep
// take two hundred times their text in memory.
constexpr std::size_t MaxFileSize = 4 * 1024 * 1024;

// A file that was changed less long ago may change again without a new time stamp. Hosts step them
// by ten milliseconds at most, file systems that keep whole seconds by two of them.
constexpr auto SettleTime = std::chrono::milliseconds(100);
constexpr auto CoarseSettleTime = std::chrono::seconds(3);

std::string RegistryName() { return HomePath("registry.reg"); }

Descriptor Open(const std::string& path, int flags) {
    return Descriptor(open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, 0600));
}

LSTATUS HostError() { return static_cast<LSTATUS>(ErrorFromErrno(errno)); }

// Equal for a file that has stayed the same: device, number, size, and when it was written and
// changed in any way.
using FileIdentity = std::array<std::int64_t, 7>;

FileIdentity IdentityOf(const struct stat& status) {
    return {static_cast<std::int64_t>(status.st_dev),
            static_cast<std::int64_t>(status.st_ino),
            status.st_size,
            status.st_mtim.tv_sec,
            status.st_mtim.tv_nsec,
            status.st_ctim.tv_sec,
            status.st_ctim.tv_nsec};
}

bool IsSettled(const struct stat& status) {
    using namespace std::chrono;
    const auto changed = seconds(status.st_ctim.tv_sec) + nanoseconds(status.st_ctim.tv_nsec);
    const auto age = system_clock::now().time_since_epoch() - changed;
    return age > (status.st_ctim.tv_nsec == 0 ? CoarseSettleTime : nanoseconds(SettleTime));
}

// Up to a block more than MaxFileSize.
LSTATUS ReadWhole(const Descriptor& file, std::string& content) {
    char block[16384];
    while (content.size() <= MaxFileSize) {
        const ssize_t count = read(file.Number(), block, sizeof(block));
        if (count < 0 && errno != EINTR)
            return HostError();
        if (count == 0)
            break;
        if (count > 0)
            content.append(block, static_cast<std::size_t>(count));
    }
    return ERROR_SUCCESS;
}

// Once for each fault: the registry is read very often.
void ReportFault(const std::string& fault) {
    static std::mutex reportLock;
    static auto& reported = *new std::string;
    const std::lock_guard lock(reportLock);
    if (fault == reported)
        return;
    reported = fault;
    std::fprintf(stderr, "registry: read %s: %s; no value is read or written until it is mended\n",
                 RegistryName().c_str(), fault.c_str());
}

LSTATUS Refuse(const std::string& fault) {
    ReportFault(fault);
    return ERROR_REGISTRY_CORRUPT;
}

// A pipe under the file's name does not hold the caller. No file where there is none.
LSTATUS OpenRegistry(Descriptor& file, struct stat& status) {
    file = Open(RegistryName(), O_RDONLY | O_NONBLOCK);
    if (!file && errno == ENXIO) // a socket
        return Refuse("this is no regular file");
    if (!file)
        return errno == ENOENT ? ERROR_SUCCESS : HostError();
    return fstat(file.Number(), &status) == 0 ? ERROR_SUCCESS : HostError();
}

// Nothing where there is no file, which is an empty registry.
LSTATUS ReadContent(const Descriptor& file, const struct stat& status, std::string& content) {
    if (!file)
        return ERROR_SUCCESS;
    if (!S_ISREG(status.st_mode))
        return Refuse("this is no regular file");
    const LSTATUS result = ReadWhole(file, content);
    if (result == ERROR_SUCCESS && content.size() > MaxFileSize)
        return Refuse("this is larger than " + std::to_string(MaxFileSize) + " bytes");
    return result;
}

LSTATUS ParseContent(const std::string& content, RegistryTree& tree) {
    std::string fault;
    return ParseRegistry(content, tree, fault) ? ERROR_SUCCESS : Refuse(fault);
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

// Replaces what a killed writer has left.
LSTATUS WriteNewFile(const std::string& path, std::string_view content) {
    unlink(path.c_str());
    const Descriptor file = Open(path, O_WRONLY | O_CREAT | O_EXCL);
    return file ? WriteWhole(file, content) : HostError();
}

// The rename itself is on the disk only once the folder is.
LSTATUS SyncFolder() {
    const Descriptor folder = Open(HomePath(""), O_RDONLY | O_DIRECTORY);
    return folder && fsync(folder.Number()) == 0 ? ERROR_SUCCESS : HostError();
}

LSTATUS StoreRegistry(const RegistryTree& tree) {
    const std::string newName = HomePath("registry.new");
    const std::string content = FormatRegistry(tree);
    if (content.size() > MaxFileSize) // nobody could read it
        return ERROR_NOT_ENOUGH_MEMORY;
    LSTATUS status = WriteNewFile(newName, content);
    if (status == ERROR_SUCCESS && rename(newName.c_str(), RegistryName().c_str()) != 0)
        status = HostError();
    if (status == ERROR_SUCCESS)
        return SyncFolder();
    unlink(newName.c_str());
    return status;
}

LSTATUS Lock(const Descriptor& file) {
    const int error = file ? LockWithin(MaxLockWait, file) : errno;
    if (error == EWOULDBLOCK)
        return ERROR_BUSY;
    return error == 0 ? ERROR_SUCCESS : static_cast<LSTATUS>(ErrorFromErrno(error));
}

struct CachedContent {
    FileIdentity identity = {}; // from before the reading; zero where the time stamps prove nothing
    std::string content;
    SharedRegistry tree; // none before the first reading
    LSTATUS result = ERROR_SUCCESS;
};

LSTATUS UpdateCache(CachedContent& cache, const Descriptor& file, const struct stat& status) {
    const bool settled = file && IsSettled(status);
    std::string content;
    if (const LSTATUS result = ReadContent(file, status, content); result != ERROR_SUCCESS)
        return result;
    if (!cache.tree || content != cache.content) {
        const auto tree = std::make_shared<RegistryTree>();
        cache.result = ParseContent(content, *tree);
        cache.tree = tree;
        cache.content = std::move(content);
    }
    cache.identity = settled ? IdentityOf(status) : FileIdentity();
    return cache.result;
}

} // namespace

LSTATUS ReadRegistry(SharedRegistry& tree) {
    static std::mutex cacheLock;
    static auto& cache = *new CachedContent;
    const std::lock_guard lock(cacheLock);
    Descriptor file;
    struct stat status = {};
    LSTATUS result = OpenRegistry(file, status);
    if (result == ERROR_SUCCESS)
        result = file && IdentityOf(status) == cache.identity ? cache.result
                                                              : UpdateCache(cache, file, status);
    tree = cache.tree;
    return result;
}

LSTATUS ChangeRegistry(const std::function<RegistryChange(RegistryTree&)>& change) {
    const Descriptor lockFile = Open(HomePath("registry.lock"), O_RDWR | O_CREAT);
    Descriptor file;
    struct stat status = {};
    std::string content;
    RegistryTree tree;
    LSTATUS result = Lock(lockFile);
    if (result == ERROR_SUCCESS)
        result = OpenRegistry(file, status);
    if (result == ERROR_SUCCESS)
        result = ReadContent(file, status, content);
    if (result == ERROR_SUCCESS)
        result = ParseContent(content, tree);
    if (result != ERROR_SUCCESS)
        return result;
    const RegistryChange made = change(tree);
    if (!made.changed)
        return made.status;
    return StoreRegistry(tree);
}

} // namespace platform
