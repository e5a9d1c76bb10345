// The file that holds the registry: HOME/registry.reg.
//
// Whoever is killed in the middle of a write leaves the old or the new content: the text goes to
// registry.new in the same folder, is synced and takes the name over. Readers need no lock for that
// reason. Writers hold a lock on registry.lock from reading to renaming, so that none undoes what
// another has written; a killed one loses it with its life.
//
// A file that cannot be understood, is no regular file or is larger than 4 MiB is left alone: every
// call fails with ERROR_REGISTRY_CORRUPT, and one line on the standard error stream names the
// fault.
#pragma once

#include "platform/registry/registry_tree.h"

#include <winreg.h>

#include <functional>
#include <memory>

namespace platform {

// One reading of the file, for all threads that ask until the file changes.
using SharedRegistry = std::shared_ptr<const RegistryTree>;

// The content as it is now; a file that does not exist is an empty registry.
LSTATUS ReadRegistry(SharedRegistry& tree);

// What a change found; nothing is written unless `changed` is set.
struct RegistryChange {
    LSTATUS status = ERROR_SUCCESS;
    bool changed = false;
};

// Runs `change` on the current content and stores the result on the disk. ERROR_BUSY where another
// process has kept the lock for ten seconds, ERROR_NOT_ENOUGH_MEMORY where the file would become
// larger than is read.
LSTATUS ChangeRegistry(const std::function<RegistryChange(RegistryTree&)>& change);

} // namespace platform
