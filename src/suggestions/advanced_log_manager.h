// The suggestions log: the examples that the user let the program learn from, the model's only store.
// docs/LOGS.md describes the file in both modes.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "platform/clock.h"
#include "platform/log.h"
#include "platform/secret_store.h"
#include "suggestions/log_file.h"
#include "suggestions/log_frames.h"
#include "suggestions/training_example.h"

namespace quillbox {

enum class AdvancedLogMode { encrypted, plaintext };

// The name under which the secret store keeps the secret of the encrypted log.
inline constexpr std::string_view suggestionsLogSecret = "suggestions-log";

// Operations run one at a time, whatever threads they come from; none belongs on the main queue. Several
// managers, in several processes, may work on one file. A lock that others keep for more than 10 seconds
// gives ETIMEDOUT.
class AdvancedLogManager {
 public:
  struct Services {
    FileSystem& files;
    RandomSource& random;
    SecretStore& secrets;
    Log& log;
  };
  // Makes `dataFolder` where it is missing; broken invariant when that fails.
  AdvancedLogManager(const Services& services, const Path& dataFolder, AdvancedLogMode mode);

  // One write at the end of the log. After an error, which the diagnostics are told too, the first of the
  // batch may be in the log, each whole; what was torn is skipped when the log is read.
  Result<void> append(const TrainingExample& example);
  Result<void> append(std::span<const TrainingExample> examples);

  // In the order in which they were written; a log that is not there is empty. What does not decode is
  // skipped with one line in the diagnostics each.
  Result<std::vector<TrainingExample>> loadAll();

  // The records as JSON, one a line, for people.
  Result<std::string> text();

  Result<void> clear();

  AdvancedLogMode mode() const { return mode_; }
  const Path& logFileURL() const { return file_.path(); }

 private:
  Result<std::string> encode(std::span<const TrainingExample> examples, std::uint64_t position);
  Result<void> appendEncrypted(std::span<const TrainingExample> examples);
  Result<void> appendPlain(std::span<const TrainingExample> examples);
  // Calls `each` with the bytes of every record that can be read.
  Result<void> readRecords(const std::function<void(std::string_view record)>& each);
  Result<std::vector<log_frames::Record>> readFrames();
  // The keys, made on first use; the caller holds the lock on the file.
  Result<void> findKeys();
  // Renames a log that another secret sealed; the caller holds the lock on the file.
  Result<void> keepForeignLogAside(std::string_view file);
  void skipped(std::string_view record, std::string_view reason);

  Services services_;
  const AdvancedLogMode mode_;
  LogFile file_;
  std::mutex mutex_;  // one operation at a time
  std::optional<log_frames::Keys> keys_;
};

}  // namespace quillbox
