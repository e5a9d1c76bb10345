// The module list: every line that can be a name is visited, in order, and nothing else.

#include "images/module_list.h"

#include "tests/fuzz/target.h"

#include <vector>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string list(data, data + size);
    std::vector<std::string> names, wanted;
    ForEachListedModule({reinterpret_cast<const char*>(data), size},
                        [&](const char* name) { names.emplace_back(name); });
    list = list.substr(0, list.find("\r\n$")) + "\r\n";
    for (std::size_t at = 0, end; (end = list.find("\r\n", at)) != list.npos; at = end + 2) {
        const std::string line = list.substr(at, end - at);
        if (!line.empty() && line.size() <= 259 &&
            std::ranges::all_of(line, [](unsigned char letter) { return letter >= ' '; }))
            wanted.push_back(line);
    }
    fuzz::Require(names == wanted);
    return 0;
}
