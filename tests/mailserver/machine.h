// What the tests of real disks need of the machine: not to be root, for whom no folder is read-only, and a
// second file system that is small.
#pragma once

#include "platform/file_system.h"

namespace quillbox::mailclient {

// Room of smallDisk() when it is our own, in bytes.
constexpr std::uint64_t smallDiskSize = 8U << 20;

// A folder on a file system other than that of the temporary files, of smallDiskSize bytes, for this process
// alone. Empty where the machine lets us mount nothing: then otherDisk() is /dev/shm.
const Path& smallDisk();
// A writable folder on another file system than the temporary files; empty when the machine has none.
const Path& otherDisk();

}  // namespace quillbox::mailclient
