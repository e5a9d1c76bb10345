// Looking up a language. Codes of other case are the same language: some handhelds give theirs in
// lower case.

#include "images/language_table.h"

#include <windows.h>

const char* LanguageName(const char* code) {
    for (const Language& language : LanguageTable) {
        if (lstrcmpiA(code, language.code) == 0)
            return language.name;
    }
    return nullptr;
}

bool HasSmallRom(const char* name) {
    for (const Language& language : LanguageTable) {
        if (lstrcmpiA(name, language.name) == 0)
            return language.smallRom;
    }
    return false;
}
