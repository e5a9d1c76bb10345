// CreateFileA, which opens a port where the name says so, and a file otherwise.

#include "platform/files/files.h"
#include "platform/ports/port_open.h"

#include <winbase.h>

#include <string>
#include <string_view>

HANDLE WINAPI CreateFileA(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES,
                          DWORD disposition, DWORD flags, HANDLE) {
    constexpr std::string_view PortPrefix = "\\\\.\\";
    const std::string_view path = name ? name : "";
    const auto object = path.starts_with(PortPrefix)
                            ? platform::OpenPort(std::string(path.substr(PortPrefix.size())),
                                                 access, share, disposition, flags)
                            : platform::OpenFile(path, access, share, disposition);
    return object ? platform::AddHandle(object) : INVALID_HANDLE_VALUE;
}
