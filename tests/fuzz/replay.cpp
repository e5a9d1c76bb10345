// Replays the inputs of a folder through a fuzz target, where the compiler's fuzzer is not linked.
// The name of each is printed first: the last one is that which has crashed.

#include "testing/test_home.h"
#include "tests/fuzz/target.h"

#include <set>

int main(int, char** arguments) {
    std::set<std::filesystem::path> inputs;
    for (const auto& entry : std::filesystem::directory_iterator(arguments[1]))
        inputs.insert(entry.path());
    for (const auto& input : inputs) {
        std::fprintf(stderr, "%s\n", input.c_str());
        const auto bytes = test_support::ReadFileBytes(input);
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    return inputs.empty() ? 1 : 0; // a corpus that is not found proves nothing
}
