// The messages of one folder, as its directory lists them: no file is opened for it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/hash.h"
#include "base/result.h"
#include "platform/clock.h"
#include "platform/file_system.h"

namespace quillbox::mailclient {

enum class Subfolder : std::uint8_t { current, fresh };  // cur/ and new/

// Where a message's file is.
struct MessageFile {
  std::string name;
  Subfolder subfolder = Subfolder::current;
  bool isLink = false;  // a symbolic link, as far as the directory tells

  Path path(const Path& folder) const {
    std::string path;
    return Path(nativePath(folder, path));
  }
  // The same as the host writes it, in `path`.
  const std::string& nativePath(const Path& folder, std::string& path) const {
    path.clear();
    path.reserve(folder.native().size() + name.size() + 5);
    return path.append(folder.native())
        .append(subfolder == Subfolder::current ? "/cur/" : "/new/")
        .append(name);
  }
  // cur/ or new/ itself.
  std::string directory(const Path& folder) const {
    return folder.native() + (subfolder == Subfolder::current ? "/cur" : "/new");
  }
  bool operator==(const MessageFile& other) const {
    return subfolder == other.subfolder && name == other.name;
  }
};

// A snapshot, kept right for our own changes. About 120 bytes a message.
class FolderIndex {
 public:
  // Lists cur/ and new/, each message once. Hidden names, folders and special files are no messages, nor are
  // links to anything but a file. Of several files of one id the first is the message; the next is, once that
  // one is gone. Fails with ENOENT when the folder is gone.
  //
  // A directory that others change while it is listed may show a renamed file under both of its names or
  // under none. Then it is listed again, until two listings in a row are alike.
  static Result<FolderIndex> scan(FileSystem& files, const Clock& clock, const Path& folder);

  // Newest first, by the time with which a delivery agent begins a name; equal times by name.
  const std::vector<MessageFile>& files() const { return files_; }
  // By stableId (message_name.h); nullptr when there is none. One in cur/ comes before one in new/.
  const MessageFile* find(std::string_view id) const;

  // Our own changes, so that a filing of many messages needs one listing only. What they add is found by
  // find() but not among files() until the next scan.
  void renamed(std::string_view id, MessageFile file);
  void removed(std::string_view id);

  // Whether the directories are as they were when they were listed. A change in the moment of the listing
  // cannot be told by the times, so a listing of folders that had just been changed counts as changed.
  bool isCurrent(FileSystem& files, const Path& folder) const;
  // Whether nobody changed the folder while it was listed, nor just before.
  bool isQuiet() const { return isQuiet_; }

 private:
  std::optional<std::size_t> placeOf(std::string_view id) const;  // in files_
  // As the directories list it, not arranged.
  static Result<FolderIndex> list(FileSystem& files, const Clock& clock, const Path& folder);
  void arrange(FileSystem& files, const Path& folder);
  bool areTimes(FileSystem& files, const Path& folder) const;
  void sort();
  // Leaves one name of each message, the first of those that are there.
  void removeFormerNames(FileSystem& files, const Path& folder);
  // Takes over what `before` saw and is still there under the same name. Gives whether more than that is
  // missing.
  bool isMissingAnyOf(const FolderIndex& before, FileSystem& files, const Path& folder);

  std::vector<MessageFile> files_;
  // Our own changes: files by their ids, and which of files_ are gone, by their places.
  std::unordered_map<std::string, MessageFile, TextHash, std::equal_to<>> changed_;
  std::vector<bool> gone_;
  bool isChanged_ = false;
  std::chrono::nanoseconds curModified_{0};
  std::chrono::nanoseconds newModified_{0};
  std::size_t fingerprint_ = 0;  // of the names as they were listed, in whatever order
  bool isQuiet_ = false;
  mutable std::size_t found_ = 0;  // where find() found the last one
};

}  // namespace quillbox::mailclient
