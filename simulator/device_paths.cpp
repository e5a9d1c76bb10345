// Splits and matches device paths, and finds them on the host.

#include "simulator/device_paths.h"

#include "platform/base/text.h"

#include <algorithm>

namespace simulator {

namespace {

constexpr std::size_t MaxPathLength = 260; // units, terminator included

bool IsAllowedName(std::u16string_view name) {
    constexpr std::u16string_view Forbidden = u"/:*?\"<>|";
    return !name.empty() && name != u"." && name != u".." &&
           std::ranges::none_of(name, [&](char16_t unit) {
               return unit < u' ' || Forbidden.find(unit) != Forbidden.npos;
           });
}

// The entry of that name in a folder, as it is written there.
std::optional<std::filesystem::path> MatchName(const std::filesystem::path& folder,
                                               const std::u16string& name) {
    const std::filesystem::path exact = platform::Utf8FromUtf16(name);
    std::error_code error;
    if (std::filesystem::exists(folder / exact, error))
        return folder / exact;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (SameName(platform::Utf16FromUtf8(entry.path().filename().string()), name))
            return entry.path();
    }
    return std::nullopt;
}

// Greedy, and goes back only to the last `*`, which then matches one unit more.
bool MatchesFolded(std::u16string_view pattern, std::u16string_view name) {
    std::size_t index = 0, nameIndex = 0, star = pattern.npos, starNameIndex = 0;
    while (nameIndex < name.size()) {
        if (index < pattern.size() && pattern[index] == u'*') {
            star = index++;
            starNameIndex = nameIndex;
        } else if (index < pattern.size() &&
                   (pattern[index] == u'?' || pattern[index] == name[nameIndex])) {
            ++index;
            ++nameIndex;
        } else if (star != pattern.npos) {
            index = star + 1;
            nameIndex = ++starNameIndex;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(u'*', index) == pattern.npos;
}

} // namespace

std::optional<std::vector<std::u16string>> SplitDevicePath(std::u16string_view path) {
    if (path.starts_with(u'\\'))
        path.remove_prefix(1);
    std::vector<std::u16string> components;
    if (path.size() >= MaxPathLength)
        return std::nullopt;
    if (path.empty())
        return components;
    for (std::size_t begin = 0; begin <= path.size();) {
        const std::size_t end = std::min(path.find(u'\\', begin), path.size());
        components.emplace_back(path.substr(begin, end - begin));
        if (!IsAllowedName(components.back()))
            return std::nullopt;
        begin = end + 1;
    }
    return components;
}

std::pair<std::u16string_view, std::u16string_view> SplitLast(std::u16string_view path) {
    const std::size_t last = path.rfind(u'\\');
    if (last == path.npos)
        return {{}, path};
    return {path.substr(0, last), path.substr(last + 1)};
}

bool MatchesPattern(std::u16string_view pattern, std::u16string_view name) {
    return pattern == u"*.*" || MatchesFolded(Fold(pattern), Fold(name));
}

HostEntry FindHostEntry(const std::filesystem::path& root,
                        std::span<const std::u16string> components) {
    HostEntry entry{root, true, true, true};
    for (const std::u16string& component : components) {
        entry.parentExists = entry.exists && entry.isFolder;
        const auto match = entry.parentExists ? MatchName(entry.path, component) : std::nullopt;
        entry.path = match.value_or(entry.path / platform::Utf8FromUtf16(component));
        entry.exists = match.has_value();
        entry.isFolder = entry.exists && std::filesystem::is_directory(entry.path);
    }
    return entry;
}

} // namespace simulator
