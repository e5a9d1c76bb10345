// What an upgrade is to change on a handheld, language by language: the tables of the handheld's
// maker, written down apart from the program's, and the steps that follow from them.
#pragma once

#include "testing/device_model.h"

namespace device_model {

struct MenuFacts {
    const char* language;
    std::string programs, settings, main, pim, utilities, category;
    std::string marnetics, ledgerly, tavi1, tavi2, backup, ostrel;
};

struct VersionFacts {
    const char* text;
    bool late;
    std::uint32_t windowBase;
};

// Null for a language without a menu.
const MenuFacts* MenuOf(const std::string& language);

std::string In(const std::string& folder, const std::string& name);

std::vector<Step> StepsFor(const std::string& language, const VersionFacts& version);

} // namespace device_model
