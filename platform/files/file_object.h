// What ReadFile and WriteFile need of the object behind a handle: files and ports offer it.
#pragma once

#include "platform/kernel/handles.h"

#include <winbase.h>

namespace platform {

class StreamObject : public Object {
public:
    // As ReadFile and WriteFile: TRUE when done; FALSE with the last error set, ERROR_IO_PENDING
    // where the call goes on. A file takes no overlapped record, a port always one; `done` may be
    // null only with it.
    virtual BOOL Read(void* buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped) = 0;
    virtual BOOL Write(const void* data, DWORD count, DWORD* done, OVERLAPPED* overlapped) = 0;
};

} // namespace platform
