// The host's error numbers as error codes of Windows.
#pragma once

#include <windef.h>

namespace platform {

// The ERROR_ value that a caller on Windows would meet; ERROR_GEN_FAILURE where there is none.
DWORD ErrorFromErrno(int number);

// Sets the last error from errno.
void SetErrorFromErrno();

} // namespace platform
