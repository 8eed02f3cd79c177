// The messages of one folder, as its directory lists them: no file is opened for it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/result.h"
#include "platform/file_system.h"

namespace quillbox::mailclient {

enum class Subfolder : std::uint8_t { current, fresh };  // cur/ and new/

// Where a message's file is.
struct MessageFile {
  std::string name;
  Subfolder subfolder = Subfolder::current;

  Path path(const Path& folder) const {
    return Path(folder.native() + (subfolder == Subfolder::current ? "/cur/" : "/new/") + name);
  }
  // cur/ or new/ itself.
  std::string directory(const Path& folder) const {
    return folder.native() + (subfolder == Subfolder::current ? "/cur" : "/new");
  }
  bool operator==(const MessageFile&) const = default;
};

// A snapshot, kept right for our own changes. About 120 bytes a message.
class FolderIndex {
 public:
  // Lists cur/ and new/. Hidden names, folders and special files are no messages. Fails with ENOENT when the
  // folder is gone.
  static Result<FolderIndex> scan(FileSystem& files, const Path& folder);

  // Newest first, by the time with which a delivery agent begins a name; equal times by name.
  const std::vector<MessageFile>& files() const { return files_; }
  // By stableId (message_name.h); nullptr when there is none. One in cur/ comes before one in new/.
  const MessageFile* find(std::string_view id) const;

  // Our own changes, so that a filing of many messages needs one listing only. What they add is found by
  // find() but not among files() until the next scan.
  void renamed(std::string_view id, MessageFile file);
  void removed(std::string_view id);

  // Whether the directories are as they were when they were listed. A change within the second of the listing
  // cannot be told by the times, so a listing that young counts as changed.
  bool isCurrent(FileSystem& files, const Path& folder) const;

 private:
  std::vector<MessageFile> files_;
  std::unordered_map<std::string, MessageFile> changed_;  // an empty name: gone
  std::chrono::nanoseconds curModified_{0};
  std::chrono::nanoseconds newModified_{0};
};

}  // namespace quillbox::mailclient
