// The registry of the handheld: its calls, and the text file behind them.

#include "simulator/device_registry.h"

#include "simulator/device_errors.h"

#include "platform/base/text.h"

#include <charconv>
#include <cstdio>
#include <sstream>

namespace simulator {

namespace {

constexpr std::uint32_t LocalMachine = 0x80000002;

std::string Quote(const std::string& text) {
    std::string quoted = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\')
            quoted += '\\';
        quoted += character;
    }
    return quoted + "\"";
}

// The text between quotes at the start of the line, which loses it and the "=" behind it.
std::string Unquote(std::string& line) {
    std::string text;
    std::size_t at = 1;
    for (; at < line.size() && line[at] != '"'; ++at) {
        if (line[at] == '\\')
            ++at;
        if (at < line.size())
            text += line[at];
    }
    line.erase(0, at + 2);
    return text;
}

RegistryValue ParseValue(std::string line) {
    RegistryValue value;
    value.name = platform::Utf16FromUtf8(Unquote(line));
    const char* end = line.data() + line.size();
    const char* at = std::from_chars(line.data(), end, value.type).ptr;
    while (at < end) {
        std::uint8_t byte = 0;
        const auto [stop, error] = std::from_chars(at + 1, end, byte, 16);
        if (error == std::errc())
            value.data.push_back(byte);
        at = error == std::errc() ? stop : end;
    }
    return value;
}

} // namespace

DeviceRegistry::DeviceRegistry(std::filesystem::path file) : file_(std::move(file)) {
    std::istringstream lines(ReadWhole(file_).value_or(""));
    std::u16string key;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('[') && line.ends_with(']')) {
            const auto path = platform::Utf16FromUtf8(line.substr(1, line.size() - 2));
            Add(path);
            key = Fold(path);
        } else if (line.starts_with('"') && !key.empty()) {
            const RegistryValue value = ParseValue(line);
            keys_[key].values[Fold(value.name)] = value;
        }
    }
}

void DeviceRegistry::Add(const std::u16string& path) {
    for (std::size_t end = path.find(u'\\'); end != path.npos; end = path.find(u'\\', end + 1))
        keys_.try_emplace(Fold(path.substr(0, end)), RegistryKey{path.substr(0, end), {}});
    keys_.try_emplace(Fold(path), RegistryKey{path, {}});
}

std::optional<std::u16string> DeviceRegistry::FullPath(std::uint32_t root,
                                                       std::u16string_view path) const {
    const std::u16string below(path.starts_with(u'\\') ? path.substr(1) : path);
    if (root == LocalMachine)
        return below;
    const auto open = openKeys_.find(root);
    if (open == openKeys_.end())
        return std::nullopt;
    return below.empty() ? open->second : open->second + u"\\" + below;
}

std::uint32_t DeviceRegistry::Open(std::uint32_t root, std::u16string_view path,
                                   std::uint32_t& key) {
    const auto full = FullPath(root, path);
    if (!full)
        return error::InvalidHandle;
    if (!full->empty() && !keys_.contains(Fold(*full)))
        return error::FileNotFound;
    openKeys_[key = ++lastKey_] = Fold(*full);
    return error::Success;
}

std::uint32_t DeviceRegistry::Create(std::uint32_t root, std::u16string_view path,
                                     std::uint32_t& key, bool& made) {
    const auto full = FullPath(root, path);
    if (!full)
        return error::InvalidHandle;
    if (full->empty() || full->ends_with(u'\\') || full->find(u"\\\\") != full->npos ||
        full->find_first_of(u"[]\n\r") != full->npos)
        return error::InvalidParameter;
    made = !keys_.contains(Fold(*full));
    if (made) {
        Add(*full);
        Save();
    }
    openKeys_[key = ++lastKey_] = Fold(*full);
    return error::Success;
}

std::uint32_t DeviceRegistry::Close(std::uint32_t key) {
    return openKeys_.erase(key) != 0 ? error::Success : error::InvalidHandle;
}

std::uint32_t DeviceRegistry::Query(std::uint32_t key, std::u16string_view name,
                                    std::uint32_t capacity, RegistryValue& value) const {
    const auto open = openKeys_.find(key);
    if (open == openKeys_.end())
        return error::InvalidHandle;
    const auto found = keys_.find(open->second);
    if (found == keys_.end())
        return error::FileNotFound;
    const auto stored = found->second.values.find(Fold(name));
    if (stored == found->second.values.end())
        return error::FileNotFound;
    value = stored->second;
    if (value.data.size() <= capacity)
        return error::Success;
    value.data.clear();
    return error::MoreData;
}

std::uint32_t DeviceRegistry::Set(std::uint32_t key, const RegistryValue& value) {
    const auto open = openKeys_.find(key);
    if (open == openKeys_.end())
        return error::InvalidHandle;
    const auto found = keys_.find(open->second);
    if (found == keys_.end())
        return error::FileNotFound;
    if (value.name.find_first_of(u"\n\r") != value.name.npos)
        return error::InvalidParameter;
    auto& stored = found->second.values[Fold(value.name)];
    // The name of a value that is there keeps its case.
    const std::u16string name = stored.name.empty() ? value.name : stored.name;
    stored = value;
    stored.name = name;
    Save();
    return error::Success;
}

std::uint32_t DeviceRegistry::Delete(std::uint32_t root, std::u16string_view path) {
    const auto full = FullPath(root, path);
    if (!full)
        return error::InvalidHandle;
    const std::u16string folded = Fold(*full);
    if (folded.empty())
        return error::AccessDenied;
    if (!keys_.contains(folded))
        return error::FileNotFound;
    std::erase_if(keys_, [&](const auto& entry) {
        return entry.first == folded || entry.first.starts_with(folded + u"\\");
    });
    Save();
    return error::Success;
}

std::string DeviceRegistry::Describe(std::uint32_t key) const {
    const auto open = openKeys_.find(key);
    if (open == openKeys_.end())
        return "key " + std::to_string(key);
    const auto found = keys_.find(open->second);
    return platform::Utf8FromUtf16(found == keys_.end() ? open->second : found->second.path);
}

void DeviceRegistry::Save() const {
    std::ostringstream text;
    for (const auto& [folded, key] : keys_) {
        text << '[' << platform::Utf8FromUtf16(key.path) << "]\n";
        for (const auto& [foldedName, value] : key.values) {
            text << Quote(platform::Utf8FromUtf16(value.name)) << '=' << value.type << ':';
            for (std::size_t at = 0; at < value.data.size(); ++at) {
                char digits[4];
                std::snprintf(digits, sizeof(digits), "%02x", value.data[at]);
                text << (at != 0 ? " " : "") << digits;
            }
            text << '\n';
        }
    }
    WriteWhole(file_, text.str());
}

} // namespace simulator
