// The registry's text: what is understood reads the same once it has been written, and then is
// written the same. What is not has its line named.

#include "platform/registry/registry_text.h"
#include "tests/fuzz/target.h"

using namespace platform;

namespace {

void RequireSame(const RegistryKey& one, const RegistryKey& other) {
    fuzz::Require(one.name == other.name && one.values.Size() == other.values.Size() &&
                  one.subKeys.Size() == other.subKeys.Size());
    for (const auto& value : one.values.All()) {
        const RegistryValue* again = other.values.Find(value->name);
        fuzz::Require(again && again->name == value->name && again->type == value->type &&
                      again->data == value->data);
    }
    for (const auto& key : one.subKeys.All()) {
        const RegistryKey* again = other.subKeys.Find(key->name);
        fuzz::Require(again);
        RequireSame(*key, *again);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    RegistryTree tree, again;
    std::string error;
    if (!ParseRegistry({reinterpret_cast<const char*>(data), size}, tree, error)) {
        fuzz::Require(error.starts_with("line "));
        return 0;
    }
    const std::string text = FormatRegistry(tree);
    fuzz::Require(ParseRegistry(text, again, error) && FormatRegistry(again) == text);
    RequireSame(tree.top, again.top);
    return 0;
}
