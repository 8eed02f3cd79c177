#include "mailclient/store_follower.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

namespace quillbox::mailclient {
namespace {

bool sameFolders(const std::vector<Folder>& a, const std::vector<Folder>& b) {
  return std::ranges::equal(
      a, b, [](const Folder& x, const Folder& y) { return x.path == y.path && x.directory == y.directory; });
}

}  // namespace

StoreFollower::StoreFollower(MailClient& mail, DirectoryWatcher& watcher,
                             std::function<void(const StoreChange&)> changed)
    : mail_(mail), watcher_(watcher), changed_(std::move(changed)), picture_(look()) {
  // What appeared before it was watched was not told.
  while (watch()) picture_ = look();
}

void StoreFollower::show(std::vector<MailboxKey> mailboxes) {
  shown_ = std::move(mailboxes);
  watch();
}

StoreFollower::Picture StoreFollower::look() {
  const std::lock_guard lock(mail_.mutex_);
  Picture picture;
  if (auto accounts = mail_.store_.accounts().accounts()) picture.accounts = std::move(*accounts);
  if (auto local = mail_.store_.accounts().localStore()) picture.accounts.push_back(std::move(*local));
  for (const auto& account : picture.accounts) {
    // An account whose disk is away has no mailboxes until it is back.
    auto folders = listFolders(mail_.environment_.files, account.path, account.layout);
    picture.folders[account.id] = folders ? std::move(folders->folders) : std::vector<Folder>();
  }
  if (auto views = mail_.views_.read()) picture.views = std::move(*views);
  return picture;
}

bool StoreFollower::watch() {
  std::set<MailboxKey> watched(shown_.begin(), shown_.end());
  for (const auto& viewer : picture_.views.viewers) {
    for (const auto& key : viewer.selected) watched.insert(key.mailbox);
  }
  std::set<Path> wanted = {mail_.environment_.directory};
  messageFolders_.clear();
  for (const auto& account : picture_.accounts) {
    wanted.insert(account.path);
    for (const auto& folder : picture_.folders[account.id]) {
      // Nested folders come and go in every folder above them, those that are no mailboxes included.
      if (account.layout == Layout::nested) {
        for (auto at = folder.directory; at != account.path && at.has_relative_path();
             at = at.parent_path()) {
          wanted.insert(at);
        }
      }
      if (const MailboxKey key{account.id, folder.path}; watched.contains(key)) {
        for (const auto* part : {"cur", "new"}) {
          wanted.insert(folder.directory / part);
          messageFolders_[folder.directory / part] = key;
        }
      }
    }
  }
  std::erase_if(watches_, [&](const auto& watch) { return !wanted.contains(watch.first); });
  bool isNew = false;
  for (const auto& directory : wanted) {
    const auto info = mail_.environment_.files.info(directory);
    const auto device = info ? info->device : 0;
    const auto inode = info ? info->inode : 0;
    if (const auto known = watches_.find(directory);
        known != watches_.end() && known->second.device == device && known->second.inode == inode) {
      continue;
    }
    auto watch = watcher_.watch(directory, [this, directory] { noticed(directory); });
    if (watch) {
      watches_[directory] = {device, inode, std::move(*watch)};
      isNew = true;
    } else if (std::exchange(isWatchingWell_, false)) {
      mail_.environment_.log.error(
          fmt::format("Changes of the mail by other programs are noticed late: {}", watch.error().message));
    }
  }
  return isNew;
}

// Nothing here may change the profile's folder when there is nothing to tell: it is watched.
void StoreFollower::noticed(Path directory) {
  StoreChange change;
  if (const auto folder = messageFolders_.find(directory); folder != messageFolders_.end()) {
    change.messages.insert(folder->second);
  }
  if (const auto followed = mail_.followMessages(); !followed) {
    mail_.environment_.log.error(
        fmt::format("The selection could not follow its messages: {}", followed.error().message));
  }
  const auto before = std::exchange(picture_, look());
  while (watch()) picture_ = look();
  const auto& now = picture_;
  change.accounts = now.accounts != before.accounts;
  for (const auto& [id, folders] : now.folders) {
    const auto old = before.folders.find(id);
    if (old == before.folders.end() || !sameFolders(old->second, folders)) change.mailboxes.insert(id);
  }
  for (const auto& [id, folders] : before.folders) {
    if (!now.folders.contains(id)) change.mailboxes.insert(id);
  }
  change.views = now.views != before.views;
  if (!change.isEmpty()) changed_(change);
}

}  // namespace quillbox::mailclient
