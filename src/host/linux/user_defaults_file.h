// User defaults in one JSON file that several processes share. The form of the file is in docs/SETTINGS.md.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clock.h"
#include "platform/file_system.h"
#include "platform/log.h"
#include "platform/user_defaults.h"

namespace quillbox {

// Main queue only, as the port says; two objects on one file may live in two threads or processes.
//
// A change takes the lock beside the file (NAME.lock), takes over what others have written, adds its own key
// and puts a new file in the place of the old one. A file that does not decode is kept aside as NAME.damaged,
// with one line in the log, and the registered defaults are in force. A file that cannot be read at all
// (permissions, larger than 64 MB) is left alone: the defaults are in force and every change fails until it
// can be read.
class FileUserDefaults final : public UserDefaults {
 public:
  // All must outlive it. Missing folders are made by the first change.
  FileUserDefaults(FileSystem& files, RandomSource& random, Log& log, Path file);
  ~FileUserDefaults() override;

  std::optional<DefaultsValue> get(std::string_view key) const override;
  std::optional<DefaultsValue> stored(std::string_view key) const override;
  std::vector<std::string> storedKeys() const override;
  // Beside file-system errors: ETIMEDOUT when another process keeps the lock for five seconds;
  // error_number::textNotUtf8 and settingValueInvalid for what JSON cannot hold (bytes in a text,
  // infinities).
  Result<void> set(std::string_view key, DefaultsValue value) override;
  Result<void> setAll(std::map<std::string, DefaultsValue> values,
                      Overwrite overwrite = Overwrite::always) override;
  Result<void> remove(std::string_view key) override;
  void registerDefaults(std::map<std::string, DefaultsValue> defaults) override;
  [[nodiscard]] Subscription observe(std::function<void(const std::string& key)> observer) override;
  void synchronize() override;

 private:
  using Values = std::map<std::string, DefaultsValue, std::less<>>;
  struct Contents;
  using Changes = std::map<std::string, std::optional<DefaultsValue>>;

  enum class Lock { held, notHeld };

  Result<void> apply(const Changes& changes, Overwrite overwrite);
  Result<Contents> read(Lock lock);
  Result<Contents> decode(std::string bytes) const;
  std::string encode(const Contents& contents) const;
  // Makes `contents` what this object knows and returns the keys whose values differ from before.
  std::set<std::string> takeOver(Contents contents);
  bool keepForeignAside(Contents& contents, const std::string& key);
  void removeDrafts();

  FileSystem& files_;
  RandomSource& random_;
  Log& log_;
  Path file_;
  Path lockFile_;
  std::unique_ptr<Contents> contents_;  // never null
  std::map<std::string, DefaultsValue, std::less<>> registered_;
  ObserverList<std::string> observers_;
  std::string toldProblem_;
};

}  // namespace quillbox
