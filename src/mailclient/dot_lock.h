// The lock that mail programs put beside a shared file: NAME.lock, made exclusively by whoever changes the
// file.
#pragma once

#include <string>
#include <string_view>

#include "base/result.h"
#include "mailclient/environment.h"

namespace quillbox::mailclient {

// Holds FILE.lock, which contains `token` from the moment on at which it exists; destroying it removes the
// lock.
class DotLock {
 public:
  // Waits up to two seconds for another program to give the lock up, and takes a lock away that is older than
  // ten minutes (its owner died). Fails with EEXIST; the message names the lock.
  static Result<DotLock> take(const Environment& environment, const Path& file, std::string_view token);
  // Removes what a run that died under this token has left beside `file`.
  static void removeLeftover(FileSystem& files, const Path& file, std::string_view token);

  DotLock(DotLock&& other) noexcept;
  DotLock& operator=(DotLock&&) = delete;
  ~DotLock();

  // Replaces `target` (the locked file, or another one that this lock protects) atomically and durably. Its
  // modification time moves on by at least a second, because servers compare whole seconds.
  Result<void> replace(const Path& target, std::string_view bytes);

 private:
  DotLock(FileSystem& files, Path file, std::string token)
      : files_(&files), file_(std::move(file)), token_(std::move(token)) {}

  FileSystem* files_;
  Path file_;
  std::string token_;
};

}  // namespace quillbox::mailclient
