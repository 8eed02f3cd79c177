// Which folders of a disk are the mailboxes of a mail account, in both layouts of Maildir trees, and what
// they are called.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "mailclient/environment.h"
#include "platform/file_system.h"

namespace quillbox::mailclient {

// maildirPlusPlus: the root is the inbox, and beside its cur, new and tmp lie the folders ".Parent.Child",
// each component in modified UTF-7. nested: every folder with a "cur" inside is a mailbox,
// "Parent/Child/cur"; when the root has one itself, it is the inbox.
enum class Layout { maildirPlusPlus, nested };

// A mailbox on disk. `path` joins the components with "/"; components that are no text on disk are shown in
// the form of readableBytes (name_codes.h), and that form finds them again.
struct Folder {
  std::string path;
  Path directory;  // holds cur, new and tmp
};

inline constexpr std::string_view inboxName = "INBOX";

// Fails with error_number::maildirUnusable and one sentence when `root` is missing, unreadable or holds no
// Maildir.
Result<Layout> detectLayout(FileSystem& files, const Path& root);

// Every mailbox below `root`: the inbox first, parents before children, else in byte order. Folders that
// vanish while the list is made are left out; a folder that cannot be read is left out with its name in
// `unreadable`.
struct FolderList {
  std::vector<Folder> folders;
  std::vector<std::string> unreadable;
};
Result<FolderList> listFolders(FileSystem& files, const Path& root, Layout layout);

// The one mailbox called `path`, looked up without listing the others. "inbox" finds the inbox in any case,
// and one "/" at the end does no harm; the path of the result is the proper one. Fails with
// error_number::mailboxNotFound; the caller names the account.
Result<Folder> findFolder(FileSystem& files, const Path& root, Layout layout, std::string_view path);

// Whether `path` may name a new mailbox in that layout; error_number::invalidName says why not.
Result<void> checkNewPath(Layout layout, std::string_view path);

// A folder that has to be made for a new mailbox, parents first; those that are mailboxes already are not
// among them.
Result<std::vector<Folder>> foldersToMake(FileSystem& files, const Path& root, Layout layout,
                                          std::string_view path);

// Makes the folder's tmp, new and cur, in this order, whatever of them is missing: a folder is a mailbox from
// the moment on at which it has a cur. Doing it again does no harm.
Result<void> makeFolder(FileSystem& files, const Path& directory);

// Adds a mailbox to the "subscriptions" file of a Maildir++ tree when there is one, so that servers show it.
// `token` marks the lock as ours. Does nothing in the nested layout.
Result<void> subscribe(const Environment& environment, const Path& root, Layout layout, std::string_view path,
                       std::string_view token);

// "Work/2024" gives "2024".
std::string_view leafName(std::string_view path);
// "Work/2024" gives "Work", "Work" gives "".
std::string_view parentPath(std::string_view path);

}  // namespace quillbox::mailclient
