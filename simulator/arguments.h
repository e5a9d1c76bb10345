// Command lines: options from a table, a usage made of the same table.
#pragma once

#include "simulator/host_files.h"

#include <map>

namespace simulator {

// A command line that cannot be meant; the usage follows on the screen.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct OptionRow {
    std::string name;  // "--version"
    std::string value; // "1.10"; empty: the option stands alone
    std::string help;
};

struct Arguments {
    std::vector<std::string> places; // those without a name, in order
    std::vector<std::pair<std::string, std::string>> options;

    bool Has(const std::string& name) const;
    // The last value given, or the other one.
    std::string Get(const std::string& name, const std::string& otherwise = "") const;
};

// Throws a UsageError for an option that is not in the table or lacks its value, and where the
// number of places is not `placeCount`.
Arguments ParseArguments(std::span<const std::string> words, std::span<const OptionRow> table,
                         std::size_t placeCount);

// Decimal, or hexadecimal behind 0x. Throw a UsageError.
std::uint64_t ParseNumber(const std::string& text);
std::uint32_t ParseNumber32(const std::string& text);

} // namespace simulator
