#include "support/fakes.h"

#include <cstring>

#include <fmt/format.h>

namespace quillbox {

MemoryUserDefaults::MemoryUserDefaults(std::shared_ptr<Store> store)
    : store_(std::move(store)), seen_(*store_) {}

std::optional<DefaultsValue> MemoryUserDefaults::stored(std::string_view key) const {
  const auto it = seen_.find(key);
  return it == seen_.end() ? std::nullopt : std::optional(it->second);
}

std::vector<std::string> MemoryUserDefaults::storedKeys() const {
  std::vector<std::string> keys;
  for (const auto& [key, value] : seen_) keys.push_back(key);
  return keys;
}

std::optional<DefaultsValue> MemoryUserDefaults::get(std::string_view key) const {
  if (auto value = stored(key)) return value;
  const auto it = registered_.find(std::string(key));
  return it == registered_.end() ? std::nullopt : std::optional(it->second);
}

Result<void> MemoryUserDefaults::put(std::string_view key, std::optional<DefaultsValue> value) {
  if (failing_ != 0)
    return fail(failing_, fmt::format("Can’t write the settings: {}", std::strerror(failing_)));
  synchronize();
  if (stored(key) == value) return {};
  ++writes_;
  for (Store* store : {store_.get(), &seen_}) {
    if (value) {
      store->insert_or_assign(std::string(key), *value);
    } else if (const auto it = store->find(key); it != store->end()) {
      store->erase(it);
    }
  }
  observers_.notify(std::string(key));
  return {};
}

Result<void> MemoryUserDefaults::set(std::string_view key, DefaultsValue value) {
  return put(key, std::move(value));
}

Result<void> MemoryUserDefaults::setAll(std::map<std::string, DefaultsValue> values, Overwrite overwrite) {
  const Store known = seen_;
  for (auto& [key, value] : values) {
    const auto mine = known.find(key);
    const auto theirs = store_->find(key);
    const bool others = (mine == known.end()) != (theirs == store_->end()) ||
                        (mine != known.end() && mine->second != theirs->second);
    if (others && overwrite == Overwrite::unchangedOnly) continue;
    if (auto done = put(key, std::move(value)); !done) return done;
  }
  return {};
}

Result<void> MemoryUserDefaults::remove(std::string_view key) {
  return put(key, std::nullopt);
}

void MemoryUserDefaults::registerDefaults(std::map<std::string, DefaultsValue> defaults) {
  for (auto& [key, value] : defaults) registered_.insert_or_assign(key, std::move(value));
}

Subscription MemoryUserDefaults::observe(std::function<void(const std::string& key)> observer) {
  return observers_.add(std::move(observer));
}

void MemoryUserDefaults::synchronize() {
  std::set<std::string> changed;
  for (const auto& [key, value] : *store_) {
    const auto it = seen_.find(key);
    if (it == seen_.end() || it->second != value) changed.insert(key);
  }
  for (const auto& [key, value] : seen_) {
    if (!store_->contains(key)) changed.insert(key);
  }
  seen_ = *store_;
  for (const auto& key : changed) observers_.notify(key);
}

std::string FakeLocalizer::text(std::string_view key) const {
  const auto it = texts_.find(key);
  return it == texts_.end() ? std::string(key) : it->second;
}

void RecordingLog::write(LogLevel level, std::string_view line) {
  const std::lock_guard lock(mutex_);
  lines_.emplace_back(level, line);
}

std::vector<std::string> RecordingLog::lines() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> all;
  for (const auto& [level, line] : lines_) all.push_back(line);
  return all;
}

std::vector<std::string> RecordingLog::lines(LogLevel wanted) const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> some;
  for (const auto& [level, line] : lines_) {
    if (level == wanted) some.push_back(line);
  }
  return some;
}

void RecordingLog::clear() {
  const std::lock_guard lock(mutex_);
  lines_.clear();
}

bool RecordingLog::contains(std::string_view part) const {
  for (const auto& line : lines()) {
    if (line.find(part) != std::string::npos) return true;
  }
  return false;
}

std::array<std::uint8_t, 16> FixedRandomSource::bytes16() {
  std::array<std::uint8_t, 16> bytes{};
  std::uint64_t value = next_++;
  for (std::size_t i = 16; i > 8; value >>= 8U) bytes[--i] = static_cast<std::uint8_t>(value & 0xFFU);
  return bytes;
}

bool FakeWorkspace::isRunning(std::string_view bundleIdentifier) const {
  const std::lock_guard lock(mutex_);
  return running_.contains(bundleIdentifier);
}

void FakeWorkspace::setRunning(std::string_view bundleIdentifier, bool running) {
  const std::lock_guard lock(mutex_);
  if (running) {
    running_.emplace(bundleIdentifier);
  } else if (const auto it = running_.find(bundleIdentifier); it != running_.end()) {
    running_.erase(it);
  }
}

std::optional<Path> FakeResourceBundle::locate(std::string_view name, std::string_view extension) const {
  const auto it = files_.find(fmt::format("{}.{}", name, extension));
  return it == files_.end() ? std::nullopt : std::optional(it->second);
}

void FakeResourceBundle::add(std::string nameAndExtension, Path path) {
  files_.insert_or_assign(std::move(nameAndExtension), std::move(path));
}

}  // namespace quillbox
