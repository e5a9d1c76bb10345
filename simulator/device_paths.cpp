// Device paths and names.

#include "simulator/device_paths.h"

#include "platform/text.h"

#include <algorithm>

namespace simulator {

namespace {

constexpr std::size_t LongestPath = 260; // units, terminator included

bool IsAllowedName(std::u16string_view name) {
    constexpr std::u16string_view Forbidden = u"/:*?\"<>|";
    return !name.empty() && name != u"." && name != u".." &&
           std::ranges::none_of(name, [&](char16_t unit) {
               return unit < u' ' || Forbidden.find(unit) != Forbidden.npos;
           });
}

// The entry of that name in a folder, as it is written there.
std::optional<std::filesystem::path> FindEntry(const std::filesystem::path& folder,
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

// Greedy, with one way back: to the last `*`, which then takes in one unit more.
bool MatchesFolded(std::u16string_view pattern, std::u16string_view name) {
    std::size_t at = 0, inName = 0, star = pattern.npos, starInName = 0;
    while (inName < name.size()) {
        if (at < pattern.size() && pattern[at] == u'*') {
            star = at++;
            starInName = inName;
        } else if (at < pattern.size() && (pattern[at] == u'?' || pattern[at] == name[inName])) {
            ++at;
            ++inName;
        } else if (star != pattern.npos) {
            at = star + 1;
            inName = ++starInName;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(u'*', at) == pattern.npos;
}

} // namespace

std::optional<std::vector<std::u16string>> SplitDevicePath(std::u16string_view path) {
    if (path.starts_with(u'\\'))
        path.remove_prefix(1);
    std::vector<std::u16string> components;
    if (path.size() >= LongestPath)
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

HostPlace FindPlace(const std::filesystem::path& root, std::span<const std::u16string> components) {
    HostPlace place{root, true, true, true};
    for (const std::u16string& component : components) {
        place.parentExists = place.exists && place.isFolder;
        const auto entry = place.parentExists ? FindEntry(place.path, component) : std::nullopt;
        place.path = entry.value_or(place.path / platform::Utf8FromUtf16(component));
        place.exists = entry.has_value();
        place.isFolder = place.exists && std::filesystem::is_directory(place.path);
    }
    return place;
}

} // namespace simulator
