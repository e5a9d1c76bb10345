// All words that pages show, loaded once from the program's string table before MainWindow exists
// and read-only after that, so that any thread may read them.
#pragma once

// Fills every entry. An id that the string table lacks leaves its entry empty; a text longer than
// its entry is cut.
void LoadMessageCatalog();

// The text of an entry, 8-bit in the ANSI code page; it lives for the whole run. `id` is one of
// the IDS_ numbers of resource.h, 11011 to 11166; any other gives an empty text.
const char* CatalogText(unsigned id);

// The name of a language for a folder name such as "French", compared without regard to case.
const char* LanguageNameText(const char* folderName);
