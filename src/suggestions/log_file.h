// What the two logs do with their files: whole appends and whole reads under a lock that holds between
// processes.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "base/result.h"
#include "platform/clock.h"
#include "platform/file_system.h"

namespace quillbox {

// Where a log lies. Broken invariant with "Failed to set up log file URL: " and the reason when the folder
// can be neither found nor made.
Path setUpLogFile(FileSystem& files, const Path& dataFolder, std::string_view name);

// Any thread. None of the members but lock() locks; callers hold the lock where they must.
class LogFile {
 public:
  LogFile(FileSystem& files, RandomSource& random, Path path)
      : files_(files), random_(random), path_(std::move(path)) {}

  const Path& path() const { return path_; }
  // Waits for others at most 10 seconds.
  Result<std::unique_ptr<FileLock>> lock();
  // The file's length in bytes; 0 when it is not there.
  Result<std::uint64_t> size();
  // The whole file; empty when it is not there.
  Result<std::string> read();
  // One write at the end of the file, made when missing, readable by its owner only.
  Result<void> append(std::string_view bytes);
  // Makes the written bytes last through a loss of power.
  Result<void> appendDurably(std::string_view bytes);
  // Puts a line, or several, at the end; ends a line first that an earlier append left torn.
  Result<void> appendLines(std::string_view lines);
  Result<void> replace(std::string_view bytes);
  Result<Path> keepAside();

 private:
  FileSystem& files_;
  RandomSource& random_;
  Path path_;
};

}  // namespace quillbox
