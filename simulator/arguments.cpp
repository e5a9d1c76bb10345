// Parses command lines.

#include "simulator/arguments.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <exception>

namespace simulator {

namespace {

constexpr int Refused = 1;
constexpr int WrongUsage = 2;

} // namespace

bool Arguments::Has(const std::string& name) const {
    return std::ranges::any_of(options, [&](const auto& option) { return option.first == name; });
}

std::string Arguments::Get(const std::string& name, const std::string& fallback) const {
    std::string value = fallback;
    for (const auto& option : options) {
        if (option.first == name)
            value = option.second;
    }
    return value;
}

Arguments ParseArguments(std::span<const std::string> words, std::span<const OptionRow> table,
                         std::size_t positionalCount) {
    Arguments arguments;
    for (std::size_t at = 0; at < words.size(); ++at) {
        if (!words[at].starts_with("--")) {
            arguments.positional.push_back(words[at]);
            continue;
        }
        const auto row = std::ranges::find(table, words[at], &OptionRow::name);
        if (row == table.end())
            throw UsageError(words[at] + ": no such option");
        if (!row->value.empty() && at + 1 == words.size())
            throw UsageError(words[at] + ": needs a value");
        arguments.options.emplace_back(row->name, row->value.empty() ? "" : words[++at]);
    }
    if (arguments.positional.size() != positionalCount)
        throw UsageError("wrong number of arguments");
    return arguments;
}

std::uint64_t ParseNumber(const std::string& text) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const char* begin = text.data() + (hexadecimal ? 2 : 0);
    const char* end = text.data() + text.size();
    std::uint64_t value = 0;
    const auto [stop, error] = std::from_chars(begin, end, value, hexadecimal ? 16 : 10);
    if (error != std::errc() || stop != end || begin == end)
        throw UsageError(text + ": not a number");
    return value;
}

std::uint32_t ParseNumber32(const std::string& text) {
    const std::uint64_t value = ParseNumber(text);
    if (value > UINT32_MAX)
        throw UsageError(text + ": too large");
    return static_cast<std::uint32_t>(value);
}

int RunProgram(const std::string& name, std::span<const std::string> words,
               const std::function<std::string()>& usage,
               const std::function<int(std::span<const std::string>)>& run) {
    try {
        if (words.size() == 1 && words[0] == "--help")
            std::fputs(usage().c_str(), stdout);
        else if (words.size() == 1 && words[0] == "--version")
            std::printf("%s %s\n", name.c_str(), PROGRAM_VERSION);
        else
            return run(words);
        return 0;
    } catch (const UsageError& error) {
        std::fprintf(stderr, "%s: %s; try --help\n", name.c_str(), error.what());
        return WrongUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", name.c_str(), error.what());
        return Refused;
    }
}

std::string UsageOf(std::span<const OptionRow> options) {
    constexpr std::size_t HelpColumn = 25;
    std::string usage;
    for (const OptionRow& option : options) {
        std::string line = option.name + " " + option.value;
        line.resize(std::max(line.size() + 1, HelpColumn), ' ');
        usage += "      " + line + option.help + "\n";
    }
    return usage;
}

} // namespace simulator
