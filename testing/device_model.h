// A model of a handheld: what a list of changes makes of its files and its registry, and which
// calls bring that about. A step is skipped where the device would refuse it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace device_model {

// Whole content: "\Windows\" a folder, "\Windows\a.lnk" a file with attributes and content,
// "[Drivers]" a key, "[Drivers] Size" a value with type and bytes.
using Content = std::map<std::string, std::string>;

// As a handheld keeps it in its folder.
Content Read(const std::filesystem::path& device);

enum class Change {
    Write,        // a small file
    Delete,       // one
    DeleteLink,   // one, after it could be opened
    RemoveFolder, // with its files
    MakeFolder,
    CopyLinks, // from one folder to another
    SetText,   // a value of the key, with a value
    SetNumber,
    RemoveKey,
    ClearMenu, // the one value that is blanked
};

struct Step {
    Change change;
    std::string where, what, text;
    std::uint32_t number = 0;
};

// The line of the call that decides whether the step succeeds.
std::string DecidingCall(const Step& step);

// Carries out the steps, the one of that deciding call refused, and returns the calls that a
// handheld is to print, line by line.
std::vector<std::string> Apply(const std::vector<Step>& steps, const std::string& refused,
                               Content& content);

} // namespace device_model
