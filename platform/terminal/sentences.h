// What the terminal says by itself, beside the texts of the pages, in their language.
#pragma once

#include <string>

namespace platform {

// The sentence in the language of the pages: its beginning, up to a value behind it, is looked for
// in the table. One that is not there, such as a text of a page, is given back as it is. UTF-8.
std::string Translated(const std::string& sentence);

} // namespace platform
