// The program's environment, as texts of Windows name it.

#include "platform/base/text.h"

#include <winbase.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

// The variable's value in letters of Windows; as it was called, where there is none.
std::string ValueOf(std::string_view name) {
    const char* value = std::getenv(platform::Utf8FromAnsi(std::string(name)).c_str());
    return value ? platform::AnsiFromUtf8(value) : "%" + std::string(name) + "%";
}

std::string Expand(std::string_view text) {
    std::string expanded;
    while (!text.empty()) {
        const std::size_t begin = text.find('%');
        expanded += text.substr(0, begin);
        text.remove_prefix(std::min(begin, text.size()));
        const std::size_t end = text.find('%', 1);
        if (end == text.npos)
            break;
        expanded += ValueOf(text.substr(1, end - 1));
        text.remove_prefix(end + 1);
    }
    return expanded.append(text); // a sign that stands alone
}

} // namespace

DWORD WINAPI ExpandEnvironmentStringsA(LPCSTR text, LPSTR buffer, DWORD size) {
    const std::string expanded = Expand(text);
    if (buffer && expanded.size() < size)
        std::memcpy(buffer, expanded.c_str(), expanded.size() + 1);
    return static_cast<DWORD>(expanded.size() + 1);
}
