// Small fakes: user defaults, texts, log, chance, other applications, resources.
#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/localizer.h"
#include "platform/log.h"
#include "platform/resource_bundle.h"
#include "platform/user_defaults.h"
#include "platform/workspace.h"

namespace quillbox {

// Main queue only, as the port says. Several of them may share one Store, as processes share a file.
class MemoryUserDefaults final : public UserDefaults {
 public:
  using Store = std::map<std::string, DefaultsValue, std::less<>>;

  explicit MemoryUserDefaults(std::shared_ptr<Store> store = std::make_shared<Store>());

  std::optional<DefaultsValue> get(std::string_view key) const override;
  std::optional<DefaultsValue> stored(std::string_view key) const override;
  std::vector<std::string> storedKeys() const override;
  Result<void> set(std::string_view key, DefaultsValue value) override;
  Result<void> setAll(std::map<std::string, DefaultsValue> values,
                      Overwrite overwrite = Overwrite::always) override;
  Result<void> remove(std::string_view key) override;
  void registerDefaults(std::map<std::string, DefaultsValue> defaults) override;
  [[nodiscard]] Subscription observe(std::function<void(const std::string& key)> observer) override;
  void synchronize() override;

  // set() and remove() fail with this errno from now on; 0 ends it.
  void failWrites(int number) { failing_ = number; }
  // How many values were written; equal values do not count.
  std::size_t writes() const { return writes_; }
  const std::map<std::string, DefaultsValue>& registered() const { return registered_; }
  const std::shared_ptr<Store>& store() const { return store_; }

 private:
  Result<void> put(std::string_view key, std::optional<DefaultsValue> value);

  std::shared_ptr<Store> store_;  // what all processes see after synchronising
  Store seen_;                    // what this one has taken over
  std::map<std::string, DefaultsValue> registered_;
  ObserverList<std::string> observers_;
  int failing_ = 0;
  std::size_t writes_ = 0;
};

// Answers with the key itself unless a text was given, so that a test sees which key was used.
class FakeLocalizer final : public Localizer {
 public:
  FakeLocalizer() = default;
  explicit FakeLocalizer(std::map<std::string, std::string, std::less<>> texts) : texts_(std::move(texts)) {}
  std::string text(std::string_view key) const override;

 private:
  std::map<std::string, std::string, std::less<>> texts_;
};

class RecordingLog final : public Log {
 public:
  void write(LogLevel level, std::string_view line) override;

  std::vector<std::string> lines() const;
  std::vector<std::string> lines(LogLevel level) const;
  void clear();
  // Whether a line of any level contains `part`.
  bool contains(std::string_view part) const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::pair<LogLevel, std::string>> lines_;
};

// Gives the numbers 1, 2, 3 ... from a start that the test chooses, big-endian in the last eight bytes.
class FixedRandomSource final : public RandomSource {
 public:
  explicit FixedRandomSource(std::uint64_t start = 1) : next_(start) {}
  std::array<std::uint8_t, 16> bytes16() override;

 private:
  std::atomic<std::uint64_t> next_;
};

// The mail client runs and this application is active until a test says otherwise.
class FakeWorkspace final : public Workspace {
 public:
  bool isRunning(std::string_view bundleIdentifier) const override;
  bool isActive() const override { return active_; }

  void setRunning(std::string_view bundleIdentifier, bool running);
  void setActive(bool active) { active_ = active; }

 private:
  mutable std::mutex mutex_;
  std::set<std::string, std::less<>> running_{std::string(mailBundleIdentifier)};
  std::atomic<bool> active_ = true;
};

// Finds what was added, under "NAME.EXTENSION".
class FakeResourceBundle final : public ResourceBundle {
 public:
  std::optional<Path> locate(std::string_view name, std::string_view extension) const override;
  void add(std::string nameAndExtension, Path path);

 private:
  std::map<std::string, Path, std::less<>> files_;
};

}  // namespace quillbox
