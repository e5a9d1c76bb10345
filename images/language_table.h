// The eight languages of handhelds and images: the code in headers and asset data, the name that
// serves as folder name, and how large a ROM in that language is.
#pragma once

#include <array>

struct Language {
    const char* code;
    const char* name;
    bool smallRom; // half the size of the others
};

constexpr std::array<Language, 8> LanguageTable{{
    {"ENG", "English", true},
    {"JPN", "Japanese", false},
    {"FRE", "French", true},
    {"GER", "German", true},
    {"ITA", "Italian", true},
    {"SPA", "Spanish", true},
    {"CHT", "TChinese", false},
    {"CHS", "SChinese", false},
}};

// The name for a code, compared without regard to case; null for any other code.
const char* LanguageName(const char* code);

// Whether a handheld with that folder name has a small ROM; the name is compared without regard to
// case. False for a name that is empty or unknown.
bool HasSmallRom(const char* name);
