// Windows paths on the host: drive Z: is the root of the file system, '\' and '/' both separate,
// a relative path starts at the current directory, names match without regard to case where no
// exact match exists (trees that come from a CD).
#pragma once

#include <string>
#include <string_view>

namespace platform {

// Host path (UTF-8) of a Windows path (Windows-1252). Existing components are matched as said
// above; those that do not exist stay as they were written, and so do those that fit more than one
// entry, so that none of them is found. A path on another drive, or one that cannot be meant, gives
// an empty text.
std::string HostPath(std::string_view windowsPath);

// The Windows path, with its drive, of an absolute host path: "Z:\home\me" for "/home/me". HostPath
// leads from it to this very file, in every program: a name that Windows-1252 cannot tell from
// others has "?" and a number in its stead.
std::string WindowsPath(std::string_view hostPath);

// The name of a directory entry as Windows-1252. Names on disk are UTF-8; one that is not, from an
// old disk, is taken for Windows-1252 itself. What Windows-1252 does not have becomes '?', and
// HostPath finds the entry again under that name where no other entry has the same.
std::string AnsiName(std::string_view hostName);

// The error for a name that HostPath could not find: ERROR_FILE_NOT_FOUND in a folder that exists,
// else ERROR_PATH_NOT_FOUND.
unsigned MissingNameError(const std::string& hostPath);

} // namespace platform
