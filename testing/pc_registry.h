// The registry of the PC as it is on the disk, and what an interrupted upgrade has left in it.
#pragma once

#include "testing/test_home.h"

#include <fstream>
#include <string>

namespace test_support {

inline bool RegistryHolds(const TestHome& home, const std::string& text) {
    return ReadBytes(home.Home() / "registry.reg").find(text) != std::string::npos;
}

// A key with its values in the file's own format. The connection manager has written its head.
inline void AppendToRegistry(const TestHome& home, const std::string& text) {
    std::ofstream(home.Home() / "registry.reg", std::ios::app) << "\n" << text;
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
