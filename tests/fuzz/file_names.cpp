// Names of files as a person types them: a path that means something is one of the host, and what
// leaves here for it leads back to this very file.

#include "platform/files/file_names.h"
#include "platform/base/text.h"
#include "platform/files/paths.h"
#include "testing/test_home.h"
#include "tests/fuzz/target.h"

using namespace platform;

static bool Prepare() {
    const auto folder = test_support::HomeOfTests().Path("folder");
    for (const char* name : {"a", "A", "image.nbf", "IMAGE.NBF", "\xC3\x89t\xC3\xA9.nbf",
                             "\xC9t\xE9", "?", "\xE6\x97\xA5", "a\\b", "below/x"})
        test_support::WriteFileBytes(folder / name, "");
    std::filesystem::current_path(folder);
    return true;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    [[maybe_unused]] static const bool ready = Prepare();
    const std::string ansi = AnsiFromUtf8(std::string(data, data + size)), host = HostPath(ansi);
    if (host.empty())
        return 0;
    fuzz::Require(host[0] == '/' && host.find("/../") == host.npos);
    std::error_code ignored;
    if (std::filesystem::exists(host, ignored))
        fuzz::Require(HostPath(WindowsPath(host)) == host);
    else
        MissingNameError(host);
    IsLegalNewName(ansi);
    return 0;
}
