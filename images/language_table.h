// The eight languages of handhelds and images: the code in headers and asset data, and the name
// that serves as folder name.
#pragma once

#include <array>

struct Language {
    const char* code;
    const char* name;
};

constexpr std::array<Language, 8> LanguageTable{{
    {"ENG", "English"},
    {"JPN", "Japanese"},
    {"FRE", "French"},
    {"GER", "German"},
    {"ITA", "Italian"},
    {"SPA", "Spanish"},
    {"CHT", "TChinese"},
    {"CHS", "SChinese"},
}};

// The name for a code, compared without regard to case; null for any other code.
const char* LanguageName(const char* code);
