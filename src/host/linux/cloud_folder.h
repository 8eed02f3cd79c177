// The cloud store as a folder that any file synchroniser carries: one file per key, each whole or not there.
// The format of the files and what a synchroniser may do to them stand in docs/SYNC.md.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "base/observable.h"
#include "base/result.h"
#include "platform/clock.h"
#include "platform/cloud_store.h"
#include "platform/directory_watcher.h"
#include "platform/file_system.h"
#include "platform/log.h"

namespace quillbox {

// The name of the file that holds `key`: lower-case ASCII only, so that no file system folds two keys into
// one name. A capital is "_" and its small letter, other bytes but letters, digits, "-" and "." are "=" and
// two hex digits: "syncList" is "kv-sync_list.quillbox".
std::string cloudFileName(std::string_view key);

struct CloudFileContents {
  std::string key;
  DefaultsValue value;
};

// One line of header, a line break, the value's bytes. Fails with EINVAL on a number that is not finite.
Result<std::string> encodeCloudFile(std::string_view key, const DefaultsValue& value);
// Fails with error_number::damagedFile on anything that encodeCloudFile() would not write: a file cut short,
// overwritten in part, padded with zeros, or of someone else.
Result<CloudFileContents> decodeCloudFile(std::string_view bytes);

class CloudFolder final : public CloudStore {
 public:
  // A larger file is passed over, and a larger value is not set.
  static constexpr std::uint64_t kLargestFile = 32U << 20U;  // bytes

  // Everything outlives this object.
  struct Ports {
    FileSystem& files;
    DirectoryWatcher& watcher;
    RandomSource& random;
    const Clock& clock;
    Log& log;
  };

  // `folder` is made when it is needed, its parents are not: a disk that is not mounted must not be replaced
  // by an empty folder. An empty path means that there is no such store.
  CloudFolder(Ports ports, Path folder);

  bool isAvailable() const override { return !folder_.empty(); }
  CloudValues readAll() override;
  // A value that is there already is not written again.
  Result<void> set(std::string_view key, const DefaultsValue& value) override;
  // Removes drafts that crashed writers left behind more than an hour ago.
  void synchronize() override;
  [[nodiscard]] Subscription observe(std::function<void()> changedExternally) override;

 private:
  void lookForChanges();
  std::optional<CloudFileContents> readFile(const std::string& name);
  bool holds(const Path& path, const std::string& bytes);
  void complainOnce(const std::string& name, const std::string& why);

  Ports ports_;
  Path folder_;
  CloudValues told_;                           // as of the last call of the observers, and what was set since
  std::map<std::string, std::string> faults_;  // why a file is passed over, by name
  ObserverList<> observers_;
  std::optional<Subscription> watch_;
};

}  // namespace quillbox
