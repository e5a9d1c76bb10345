// What an interrupted upgrade has left in the registry of the PC, as it is on the disk.
#pragma once

#include "testing/test_home.h"

#include <fstream>
#include <iterator>
#include <string>

namespace test_support {

inline bool RegistryHolds(const TestHome& home, const std::string& text) {
    std::ifstream file(home.Home() / "registry.reg");
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    return content.find(text) != std::string::npos;
}

inline bool HasProgressRecord(const TestHome& home) {
    return RegistryHolds(home, "\"Flash\"=dword:00000001");
}

inline bool IsMarkedCritical(const TestHome& home) {
    return RegistryHolds(home, "\"Critical\"=dword:00000001");
}

inline bool HasHeldBackNote(const TestHome& home) {
    return RegistryHolds(home, "FlashUtilityHeldBack]");
}

} // namespace test_support
