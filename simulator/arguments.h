// Command lines: positional arguments, options from the table that the usage is made of, and what
// the programs of this folder have in common.
#pragma once

#include "simulator/host_files.h"

#include <functional>
#include <utility>

namespace simulator {

// A command line that makes no sense.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct OptionRow {
    std::string name;  // "--version"
    std::string value; // name of its value, "VERSION"; empty: it has none
    std::string help;
};

struct Arguments {
    std::vector<std::string> positional; // in order
    std::vector<std::pair<std::string, std::string>> options;

    bool Has(const std::string& name) const;
    // The value of the last such option, or the fallback where there is none.
    std::string Get(const std::string& name, const std::string& fallback = "") const;
};

// Throws a UsageError for an option that is not in the table or lacks its value, and where the
// number of positional arguments is not `positionalCount`.
Arguments ParseArguments(std::span<const std::string> words, std::span<const OptionRow> table,
                         std::size_t positionalCount);

// Decimal, or hexadecimal behind 0x. Throw a UsageError.
std::uint64_t ParseNumber(const std::string& text);
std::uint32_t ParseNumber32(const std::string& text);

// A program of this folder: answers `--help`, for which the usage is made, and `--version`, or else
// runs. Gives the exit code: that of `run`, or behind one line of error 2 for a UsageError and 1
// for another exception.
int RunProgram(const std::string& name, std::span<const std::string> words,
               const std::function<std::string()>& usage,
               const std::function<int(std::span<const std::string>)>& run);

// A line of a usage for each option.
std::string UsageOf(std::span<const OptionRow> options);

} // namespace simulator
