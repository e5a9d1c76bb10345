// The checksum of an image file beside `cat` of the same file to /dev/null, by turns in one run.

#include "bench/median.h"
#include "images/checksum.h"

#include <windows.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::size_t FileSize = 32 << 20;

double TimeCat(const std::string& path) {
    const auto start = Clock::now();
    std::string program = "cat";
    std::string file = path;
    char* arguments[] = {program.data(), file.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    if (posix_spawnp(&child, "cat", &actions, nullptr, arguments, environ) != 0)
        std::exit(1);
    posix_spawn_file_actions_destroy(&actions);
    waitpid(child, nullptr, 0);
    return Seconds(Clock::now() - start).count();
}

double TimeSum(const std::string& path) {
    const auto start = Clock::now();
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    const bool summed = SumImage(file).has_value();
    CloseHandle(file);
    if (!summed)
        std::exit(1);
    return Seconds(Clock::now() - start).count();
}

std::string MakeFile() {
    std::string path = "/tmp/verify-bench-XXXXXX";
    close(mkstemp(path.data()));
    std::vector<char> bytes(FileSize);
    for (std::size_t index = 0; index < bytes.size(); ++index)
        bytes[index] = static_cast<char>(index * 2654435761U >> 13);
    std::ofstream(path, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return path;
}

} // namespace

int main(int count, char** words) {
    const bool smoke = count > 1 && std::string(words[1]) == "--smoke";
    const int rounds = smoke ? 3 : 41;
    const std::string path = MakeFile();
    std::vector<double> cat, sum;
    for (int round = 0; round < rounds; ++round) {
        cat.push_back(TimeCat(path));
        sum.push_back(TimeSum(path));
    }
    unlink(path.c_str());
    std::printf("checksum of 32 MiB: %.2f of the speed of cat (wanted: 0.80), medians of %d "
                "turns\n",
                bench::Median(cat) / bench::Median(sum), rounds);
    return 0;
}
