// Which names a new file may have.
#pragma once

#include <string_view>

namespace platform {

// Whether Windows would let a file of this name be made: the last part of the path is not empty and
// holds no wildcard, quotation mark, bracket, bar, colon or control character.
bool IsLegalNewName(std::string_view windowsPath);

} // namespace platform
