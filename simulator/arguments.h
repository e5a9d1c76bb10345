// Command lines: positional arguments, and options from the table that the usage is made of.
#pragma once

#include "simulator/host_files.h"

#include <utility>

namespace simulator {

// A command line that makes no sense; the usage is printed behind the message.
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

} // namespace simulator
