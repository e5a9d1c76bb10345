// Opening a file for CreateFileA.
#pragma once

#include "platform/kernel/handles.h"

#include <windef.h>

#include <memory>
#include <string_view>

namespace platform {

// Opens the file of this Windows path; the other arguments are as CreateFileA was given them. Null
// with the last error set where it cannot be opened.
std::shared_ptr<Object> OpenFile(std::string_view name, DWORD access, DWORD share,
                                 DWORD disposition);

} // namespace platform
