#include "mailclient/dot_lock.h"

#include <cerrno>
#include <chrono>
#include <utility>

#include <fmt/format.h>

#include "mailclient/name_codes.h"

namespace quillbox::mailclient {
namespace {

using namespace std::chrono_literals;

constexpr int kAttempts = 100;
constexpr auto kPause = 20ms;
constexpr auto kStale = 10min;

Path lockPath(const Path& file) {
  Path path = file;
  path += ".lock";
  return path;
}

Path draftPath(const Path& file, std::string_view token) {
  Path path = file;
  path += fmt::format(".{}.tmp", token);
  return path;
}

Result<void> writeDraft(FileSystem& files, const Path& draft, std::string_view bytes,
                        std::uint32_t permissions) {
  auto file = files.create(draft, CreateMode::exclusive, permissions);
  if (!file) return forward(file);
  if (auto done = (*file)->write(bytes); !done) return done;
  if (auto done = (*file)->sync(); !done) return done;
  return (*file)->close();
}

}  // namespace

Result<DotLock> DotLock::take(const Environment& environment, const Path& file, std::string_view token) {
  auto& files = environment.files;
  const Path draft = draftPath(file, token);
  const Path lock = lockPath(file);
  // The lock appears with its content in it, so that a crash never leaves one that nobody can claim.
  auto made = writeDraft(files, draft, token, 0600);
  for (int attempt = 0; made && attempt < kAttempts; ++attempt) {
    const auto taken = files.renameNoReplace(draft, lock);
    if (taken) return DotLock(files, file, std::string(token));
    made = taken;
    if (taken.error().number != EEXIST) break;
    made = fail(EEXIST, fmt::format("{} is in use by another mail program (its lock {} is there)",
                                    readableBytes(file.string()), readableBytes(lock.filename().string())));
    const auto held = files.info(lock);
    if (held && environment.clock.now() - held->modified > kStale) {
      if (files.remove(lock)) environment.log.info(fmt::format("Removed the stale lock {}", lock.string()));
    } else {
      environment.clock.pause(kPause);
    }
    made = attempt + 1 < kAttempts ? Result<void>{} : made;
  }
  (void)files.remove(draft);
  return forward(made);
}

void DotLock::removeLeftover(FileSystem& files, const Path& file, std::string_view token) {
  (void)files.remove(draftPath(file, token));
  const auto held = files.read(lockPath(file), 4096);
  if (held && *held == token) (void)files.remove(lockPath(file));
}

DotLock::DotLock(DotLock&& other) noexcept
    : files_(std::exchange(other.files_, nullptr)),
      file_(std::move(other.file_)),
      token_(std::move(other.token_)) {}

DotLock::~DotLock() {
  if (files_ != nullptr) (void)files_->remove(lockPath(file_));
}

Result<void> DotLock::replace(const Path& target, std::string_view bytes) {
  const Path draft = draftPath(target, token_);
  const auto old = files_->info(target);
  const auto write = [&]() -> Result<void> {
    if (auto done = writeDraft(*files_, draft, bytes, old ? old->permissions : 0600); !done) return done;
    const auto fresh = files_->info(draft);
    if (!fresh) return forward(fresh);
    if (old && fresh->modified < old->modified + 1s) {
      if (auto done = files_->setModified(draft, old->modified + 1s); !done) return done;
    }
    return files_->renameReplacing(draft, target);
  };
  auto done = write();
  if (!done) (void)files_->remove(draft);
  return done;
}

}  // namespace quillbox::mailclient
