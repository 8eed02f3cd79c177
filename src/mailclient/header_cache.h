// The headers that lists show, kept so that a message is opened once and not at every listing.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/result.h"
#include "mailclient/environment.h"
#include "mailclient/folder_index.h"
#include "mailclient/mime.h"

namespace quillbox::mailclient {

// What is kept of a message. A message's bytes never change, so an entry stays right as long as its file
// exists.
struct CachedHeaders {
  HeaderSummary summary;
  std::int64_t received = 0;  // modification time, seconds since 1970 UTC
  std::uint64_t size = 0;     // bytes
};

// In memory for the folders last used, and on disk in one file for each folder, mail/cache/NAME: it may be
// deleted at any time; one that does not decode is kept aside, logged and made anew. Used under the lock of
// MailClient.
class HeaderCache {
 public:
  explicit HeaderCache(const Environment& environment) : environment_(environment) {}

  // Says that about `count` messages of the folder will be asked for: when that are many, what the disk
  // remembers of them is read first.
  void expect(const Path& folder, std::size_t count);
  // Reads the message's header unless it is known. Fails as the file system does.
  Result<CachedHeaders> get(const Path& folder, const MessageFile& file);
  // Writes what was learnt of the folder since, when that is much, without the messages that are not in
  // `index` any more. Failing to write loses nothing but time.
  void save(const Path& folder, const FolderIndex& index);
  // Removes drafts that a process that died has left.
  void removeDrafts();

 private:
  static constexpr std::size_t kFolders = 8;
  static constexpr std::size_t kMany = 128;

  // Where the entries of messages begin, by a hash of their ids: 16 bytes each, but for the latest.
  class Offsets {
   public:
    const std::size_t* find(std::uint64_t id) const;
    void set(std::uint64_t id, std::size_t offset);
    void pack();

   private:
    std::vector<std::pair<std::uint64_t, std::size_t>> sorted_;
    std::unordered_map<std::uint64_t, std::size_t> latest_;
  };

  // Entries are encoded one behind the other, and found by a 64-bit hash of the message's stable id: some 50
  // bytes a message beside its headers.
  struct FolderHeaders {
    std::string folder;
    std::string entries;
    Offsets offsets;
    std::size_t unsaved = 0;
    bool loaded = false;
  };

  FolderHeaders& open(const Path& folder);
  Path fileOf(std::string_view folder) const;
  void load(FolderHeaders& headers);
  // Adds what is in the bytes of a cache file; false when it is no whole one of this version.
  static bool take(FolderHeaders& headers, std::string_view bytes);

  const Environment& environment_;
  std::list<FolderHeaders> folders_;  // last used first
};

}  // namespace quillbox::mailclient
