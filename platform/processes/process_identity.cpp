// Start times of processes, read from /proc (man 5 proc, "stat").
//
// The name of the program is in brackets in the middle of that line and may hold blanks and
// brackets itself; fields are counted from the last closing one.

#include "platform/processes/process_identity.h"

#include <fstream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>

namespace platform {
namespace {

constexpr int FieldsFromStateToStartTime = 19;

struct Expectations {
    std::mutex lock;
    std::map<DWORD, std::uint64_t> startTimes;
};

Expectations& Expected() {
    static auto& expected = *new Expectations;
    return expected;
}

} // namespace

std::uint64_t ProcessStartTime(DWORD processId) {
    std::ifstream file("/proc/" + std::to_string(processId) + "/stat");
    std::string line;
    std::getline(file, line, '\0');
    const auto bracket = line.rfind(')');
    if (bracket == std::string::npos)
        return 0;
    std::istringstream fields(line.substr(bracket + 1));
    std::string field;
    fields >> field;
    if (field == "Z" || field == "X")
        return 0;
    for (int i = 1; i < FieldsFromStateToStartTime; ++i)
        fields >> field;
    std::uint64_t startTime = 0;
    return fields >> startTime ? startTime : 0;
}

bool ProcessIsAlive(DWORD processId, std::uint64_t startTime) {
    return startTime != 0 && ProcessStartTime(processId) == startTime;
}

void ExpectProcess(DWORD processId, std::uint64_t startTime) {
    auto& expected = Expected();
    const std::lock_guard lock(expected.lock);
    expected.startTimes[processId] = startTime;
}

std::uint64_t ExpectedStartTime(DWORD processId) {
    auto& expected = Expected();
    const std::lock_guard lock(expected.lock);
    const auto found = expected.startTimes.find(processId);
    return found == expected.startTimes.end() ? 0 : found->second;
}

} // namespace platform
