// Device paths and names: `\Windows\Start Menu\Games.lnk`.
//
// Components between backslashes, from the root, with or without a leading backslash; case is kept
// and does not count in comparisons. On the host a component is a file name in UTF-8.
#pragma once

#include "simulator/host_files.h"

#include <utility>

namespace simulator {

// The components, or nothing where the path has 260 units or more or a name is not allowed: empty,
// "." or "..", or with one of / : * ? " < > | or a control character in it. The root has no
// components.
std::optional<std::vector<std::u16string>> SplitDevicePath(std::u16string_view path);

// The text before the last backslash, and the text behind it.
std::pair<std::u16string_view, std::u16string_view> SplitLast(std::u16string_view path);

// The last part of a path, for programs and libraries.
inline std::u16string_view BareName(std::u16string_view path) { return SplitLast(path).second; }

// `*` stands for any text, `?` for one unit; `*.*` for every name.
bool MatchesPattern(std::u16string_view pattern, std::u16string_view name);

// A device path on the host: each component below the root folder is matched without regard to case
// against what is there, so that files may be put there from outside.
struct HostEntry {
    std::filesystem::path path; // of what exists, or of what would be made
    bool parentExists = false;  // as a folder
    bool exists = false;
    bool isFolder = false;
};
HostEntry FindHostEntry(const std::filesystem::path& root,
                        std::span<const std::u16string> components);

} // namespace simulator
