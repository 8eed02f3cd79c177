// What the mail client needs from the host.
#pragma once

#include <string>

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

}  // namespace quillbox::mailclient
