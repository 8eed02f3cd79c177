// What the mail client needs from the host.
#pragma once

#include <string>
#include <vector>

#include "base/bytes.h"
#include "platform/clock.h"
#include "platform/file_system.h"
#include "platform/log.h"

namespace quillbox::mailclient {

// References to what outlives the mail client, and its place on the disk: PROFILE/mail.
struct Environment {
  FileSystem& files;
  const Clock& clock;
  RandomSource& random;
  Log& log;
  Path directory;

  // 32 hexadecimal digits that nobody else has.
  std::string token() const {
    const auto bytes = random.bytes16();
    return toHex(std::string(bytes.begin(), bytes.end()));
  }
};

// Removes what writeAtomically() of a process that died has left beside `file`. Called under the lock that
// guards it.
inline void removeDraftsOf(FileSystem& files, const Path& file) {
  const auto prefix = file.filename().string() + ".";
  std::vector<Path> drafts;
  (void)files.list(file.parent_path(), [&](std::string_view name, FileKind kind) {
    if (kind == FileKind::regular && name.starts_with(prefix) && name.ends_with(".tmp")) {
      drafts.push_back(file.parent_path() / name);
    }
    return true;
  });
  for (const auto& draft : drafts) (void)files.remove(draft);
}

}  // namespace quillbox::mailclient
