#include "support/faulty_file_system.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fmt/format.h>

namespace quillbox {
namespace {

std::unexpected<Error> failure(const FaultyFileSystem::Step& step, int number) {
  return fail(number, fmt::format("Can’t {} {}{}{}: {}", step.operation, step.path.string(),
                                  step.to.empty() ? "" : " to ", step.to.string(), std::strerror(number)));
}

}  // namespace

class FaultyFileSystem::File final : public WritableFile {
 public:
  File(FaultyFileSystem& owner, Path path, std::unique_ptr<WritableFile> inner)
      : owner_(owner), path_(std::move(path)), inner_(std::move(inner)) {}

  Result<void> write(std::string_view bytes) override {
    const Step step{"write", path_, {}};
    const Verdict verdict = owner_.step(step);
    if (verdict.fate == Fate::go) return inner_->write(bytes);
    if (verdict.fate == Fate::failHalfWritten) (void)inner_->write(bytes.substr(0, bytes.size() / 2));
    return failure(step, verdict.number);
  }
  Result<void> sync() override {
    return owner_.change({"sync", path_, {}}, [this] { return inner_->sync(); });
  }
  Result<void> close() override {
    if (owner_.crashed()) return failure({"close", path_, {}}, EIO);
    return inner_->close();
  }

 private:
  FaultyFileSystem& owner_;
  Path path_;
  std::unique_ptr<WritableFile> inner_;
};

void FaultyFileSystem::failStep(std::uint64_t step, int number) {
  const std::lock_guard lock(mutex_);
  failAt_ = step;
  failNumber_ = number;
}

void FaultyFileSystem::crashAtStep(std::uint64_t step, Torn torn) {
  const std::lock_guard lock(mutex_);
  crashAt_ = step;
  torn_ = torn;
}

void FaultyFileSystem::failWhen(std::function<std::optional<int>(const Step&)> rule) {
  const std::lock_guard lock(mutex_);
  rule_ = std::move(rule);
}

void FaultyFileSystem::failReadsWhen(std::function<std::optional<int>(const Step&)> rule) {
  const std::lock_guard lock(mutex_);
  readRule_ = std::move(rule);
}

void FaultyFileSystem::beforeStep(std::function<void(const Step&)> action) {
  const std::lock_guard lock(mutex_);
  before_ = std::move(action);
}

void FaultyFileSystem::setShortReads(std::uint64_t bytes) {
  const std::lock_guard lock(mutex_);
  shortReads_ = bytes;
}

void FaultyFileSystem::reset() {
  const std::lock_guard lock(mutex_);
  count_ = failAt_ = crashAt_ = 0;
  crashed_ = false;
  torn_ = Torn::no;
  shortReads_ = std::numeric_limits<std::uint64_t>::max();
  rule_ = nullptr;
  readRule_ = nullptr;
  before_ = nullptr;
  trace_.clear();
}

std::uint64_t FaultyFileSystem::steps() const {
  const std::lock_guard lock(mutex_);
  return count_;
}

bool FaultyFileSystem::crashed() const {
  const std::lock_guard lock(mutex_);
  return crashed_;
}

std::vector<FaultyFileSystem::Step> FaultyFileSystem::trace() const {
  const std::lock_guard lock(mutex_);
  return trace_;
}

FaultyFileSystem::Verdict FaultyFileSystem::step(const Step& step) {
  std::function<void(const Step&)> before;
  {
    const std::lock_guard lock(mutex_);
    if (!crashed_) before = before_;
  }
  if (before) before(step);
  const std::lock_guard lock(mutex_);
  if (crashed_) return {Fate::fail, EIO};
  ++count_;
  trace_.push_back(step);
  if (crashAt_ != 0 && count_ >= crashAt_) {
    crashed_ = true;
    return {torn_ == Torn::half ? Fate::failHalfWritten : Fate::fail, EIO};
  }
  if (failAt_ == count_) return {Fate::failHalfWritten, failNumber_};
  if (rule_) {
    if (const auto number = rule_(step)) return {Fate::failHalfWritten, *number};
  }
  return {};
}

Result<void> FaultyFileSystem::change(const Step& step, const std::function<Result<void>()>& act) {
  const Verdict verdict = this->step(step);
  if (verdict.fate != Fate::go) return failure(step, verdict.number);
  return act();
}

Result<void> FaultyFileSystem::reading(const Step& step) {
  const std::lock_guard lock(mutex_);
  if (crashed_) return failure(step, EIO);
  if (readRule_) {
    if (const auto number = readRule_(step)) return failure(step, *number);
  }
  return {};
}

Result<std::string> FaultyFileSystem::read(const Path& path, std::uint64_t limit) {
  if (auto may = reading({"read", path, {}}); !may) return forward(may);
  return inner_.read(path, limit);
}

Result<std::string> FaultyFileSystem::readRange(const Path& path, std::uint64_t offset,
                                                std::uint64_t length) {
  if (auto may = reading({"readRange", path, {}}); !may) return forward(may);
  std::uint64_t most = 0;
  {
    const std::lock_guard lock(mutex_);
    most = shortReads_;
  }
  return inner_.readRange(path, offset, std::min(length, most));
}

Result<FileInfo> FaultyFileSystem::info(const Path& path, FollowLinks follow) {
  if (auto may = reading({"info", path, {}}); !may) return forward(may);
  return inner_.info(path, follow);
}

Result<void> FaultyFileSystem::list(const Path& directory,
                                    const std::function<bool(std::string_view, FileKind)>& each) {
  if (auto may = reading({"list", directory, {}}); !may) return may;
  return inner_.list(directory, each);
}

Result<Path> FaultyFileSystem::readLink(const Path& path) {
  if (auto may = reading({"readLink", path, {}}); !may) return forward(may);
  return inner_.readLink(path);
}

Result<std::unique_ptr<WritableFile>> FaultyFileSystem::create(const Path& path, CreateMode mode,
                                                               std::uint32_t permissions) {
  const Step step{"create", path, {}};
  if (const Verdict verdict = this->step(step); verdict.fate != Fate::go)
    return failure(step, verdict.number);
  auto file = inner_.create(path, mode, permissions);
  if (!file) return file;
  return std::make_unique<File>(*this, path, std::move(*file));
}

Result<void> FaultyFileSystem::renameNoReplace(const Path& from, const Path& to) {
  return change({"rename", from, to}, [&] { return inner_.renameNoReplace(from, to); });
}

Result<void> FaultyFileSystem::renameReplacing(const Path& from, const Path& to) {
  return change({"rename", from, to}, [&] { return inner_.renameReplacing(from, to); });
}

Result<void> FaultyFileSystem::remove(const Path& path) {
  return change({"remove", path, {}}, [&] { return inner_.remove(path); });
}

Result<void> FaultyFileSystem::removeDirectory(const Path& path) {
  return change({"removeDirectory", path, {}}, [&] { return inner_.removeDirectory(path); });
}

Result<void> FaultyFileSystem::makeDirectory(const Path& path, std::uint32_t permissions) {
  return change({"makeDirectory", path, {}}, [&] { return inner_.makeDirectory(path, permissions); });
}

Result<void> FaultyFileSystem::syncDirectory(const Path& path) {
  return change({"syncDirectory", path, {}}, [&] { return inner_.syncDirectory(path); });
}

Result<void> FaultyFileSystem::setModified(const Path& path, std::chrono::nanoseconds modified) {
  return change({"setModified", path, {}}, [&] { return inner_.setModified(path, modified); });
}

Result<void> FaultyFileSystem::setPermissions(const Path& path, std::uint32_t permissions) {
  return change({"setPermissions", path, {}}, [&] { return inner_.setPermissions(path, permissions); });
}

Result<std::unique_ptr<FileLock>> FaultyFileSystem::lock(const Path& path, std::chrono::milliseconds wait) {
  if (auto may = reading({"lock", path, {}}); !may) return forward(may);
  return inner_.lock(path, wait);
}

}  // namespace quillbox
