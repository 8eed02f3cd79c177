#include "mailclient/mail_store.h"

#include <algorithm>
#include <cerrno>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/text.h"
#include "mailclient/name_codes.h"

namespace quillbox::mailclient {

static_assert(ENOENT == 2, "MailStore::withMessage");

Result<MailAccount> MailStore::account(std::string_view id) {
  if (id == localAccountName) return accounts_.localStore();
  const auto all = accounts_.accounts();
  if (!all) return forward(all);
  const auto found = std::ranges::find(*all, id, &MailAccount::id);
  if (found != all->end()) return *found;
  return fail(error_number::accountNotFound,
              fmt::format("There is no account with the id “{}”", text::singleLine(readableBytes(id))));
}

Result<MailAccount> MailStore::accountNamed(std::string_view name) {
  if (name == localAccountName) return accounts_.localStore();
  const auto all = accounts_.accounts();
  if (!all) return forward(all);
  const auto found = std::ranges::find(*all, name, &MailAccount::name);
  if (found != all->end()) return *found;
  const auto folded = text::foldCase(name);
  const auto alike = std::ranges::find_if(
      *all, [&](const MailAccount& account) { return text::foldCase(account.name) == folded; });
  if (alike != all->end()) return *alike;
  return fail(error_number::accountNotFound,
              fmt::format("There is no account “{}”", text::singleLine(readableBytes(name))));
}

Result<std::vector<Folder>> MailStore::mailboxes(const MailAccount& account) {
  auto list = listFolders(environment_.files, account.path, account.layout);
  if (!list) {
    if (account.isLocal() && list.error().number == ENOENT) return std::vector<Folder>();
    return fail(error_number::maildirUnusable, fmt::format("The mail of the account “{}” can’t be read: {}",
                                                           account.name, list.error().message));
  }
  for (const auto& folder : list->unreadable) {
    environment_.log.error(fmt::format("The mail folder {} can’t be read", readableBytes(folder)));
  }
  return std::move(list->folders);
}

Result<Folder> MailStore::mailbox(const MailboxKey& key) {
  const auto owner = account(key.account);
  if (!owner) return forward(owner);
  auto folder = findFolder(environment_.files, owner->path, owner->layout, key.path);
  if (!folder && folder.error().number == error_number::mailboxNotFound) {
    return fail(error_number::mailboxNotFound,
                fmt::format("The mailbox “{}” in “{}” could not be found",
                            text::singleLine(readableBytes(key.path)), owner->name));
  }
  return folder;
}

std::shared_ptr<FolderIndex> MailStore::remembered(const Path& folder) {
  const auto place = std::ranges::find(remembered_, folder.native(), &Remembered::folder);
  if (place == remembered_.end()) return nullptr;
  if (place == remembered_.begin()) return place->index;
  remembered_.splice(remembered_.begin(), remembered_, place);
  return remembered_.front().index;
}

Result<std::shared_ptr<FolderIndex>> MailStore::scan(const Folder& folder) {
  auto index = FolderIndex::scan(environment_.files, environment_.clock, folder.directory);
  if (!index) {
    forget(folder.directory);
    if (index.error().number == ENOENT) {
      return fail(error_number::mailboxNotFound,
                  fmt::format("The mailbox “{}” could not be found", text::singleLine(folder.path)));
    }
    return fail(index.error().number,
                fmt::format("The mailbox “{}” can’t be read: {}", folder.path, index.error().message));
  }
  forget(folder.directory);
  remembered_.push_front({folder.directory.string(), std::make_shared<FolderIndex>(std::move(*index))});
  if (remembered_.size() > kRememberedFolders) remembered_.pop_back();
  return remembered_.front().index;
}

Result<std::shared_ptr<FolderIndex>> MailStore::messages(const Folder& folder) {
  if (auto index = remembered(folder.directory);
      index && index->isCurrent(environment_.files, folder.directory)) {
    return index;
  }
  return scan(folder);
}

Result<std::shared_ptr<FolderIndex>> MailStore::listed(const Folder& folder) {
  if (auto index = remembered(folder.directory)) return index;
  return scan(folder);
}

Result<std::optional<MessageFile>> MailStore::search(const Folder& folder, std::string_view id) {
  // In a folder that others change a message that is missing from one listing may be in the next.
  for (int look = 0; look < kLooks; ++look) {
    const auto index = scan(folder);
    if (!index) return forward(index);
    if (const auto* file = (*index)->find(id)) return *file;
    if ((*index)->isQuiet()) break;
  }
  return std::nullopt;
}

Result<std::optional<MessageFile>> MailStore::find(const Folder& folder, std::string_view id) {
  if (const auto index = remembered(folder.directory)) {
    // The name may be remembered only: it counts when the file has it.
    const auto* file = index->find(id);
    if (file != nullptr && environment_.files.info(file->path(folder.directory), FollowLinks::no)) {
      return *file;
    }
    if (file == nullptr && index->isCurrent(environment_.files, folder.directory)) return std::nullopt;
  }
  return search(folder, id);
}

Result<LocatedMessage> MailStore::locate(const MessageKey& key, Lookup lookup, const FolderRef& known) {
  if (lookup == Lookup::remembered && known != nullptr) {
    if (const auto index = remembered(known->directory)) {
      if (const auto* file = index->find(key.id)) return LocatedMessage{known, *file};
    }
  }
  auto found = mailbox(key.mailbox);
  if (!found) return forward(found);
  const auto folder = std::make_shared<const Folder>(std::move(*found));
  if (lookup == Lookup::remembered) {
    if (const auto index = remembered(folder->directory)) {
      if (const auto* file = index->find(key.id)) return LocatedMessage{folder, *file};
    }
  }
  const auto file = search(*folder, key.id);
  if (!file) return forward(file);
  if (*file) return LocatedMessage{folder, **file};
  return fail(error_number::messageNotFound,
              fmt::format("The message “{}” is not in the mailbox “{}”",
                          text::singleLine(readableBytes(key.id)), key.mailbox.path));
}

Result<std::map<MessageKey, MessageKey>> MailStore::whereabouts(const std::vector<MessageKey>& keys) {
  std::map<MessageKey, MessageKey> found;
  std::map<std::string, std::vector<MessageKey>> byAccount;
  for (const auto& key : keys) byAccount[key.mailbox.account].push_back(key);
  for (const auto& [id, wanted] : byAccount) {
    const auto owner = account(id);
    if (!owner && owner.error().number == error_number::accountNotFound) continue;
    if (!owner) return forward(owner);
    const auto folders = mailboxes(*owner);
    if (!folders) return forward(folders);
    for (const auto& folder : *folders) {
      const auto index = messages(folder);
      if (!index) continue;  // gone since the list was made, or unreadable
      for (const auto& key : wanted) {
        if ((*index)->find(key.id) != nullptr) found.try_emplace(key, MessageKey{{id, folder.path}, key.id});
      }
    }
  }
  return found;
}

Result<KeywordTable> MailStore::keywords(const Path& folder) {
  const Path file = folder / "dovecot-keywords";
  const auto info = environment_.files.info(file);
  if (!info) {
    keywords_.erase(folder.string());
    if (info.error().number == ENOENT || info.error().number == ENOTDIR) return KeywordTable();
    return forward(info);
  }
  const auto known = keywords_.find(folder.string());
  if (known != keywords_.end() && known->second.info.inode == info->inode &&
      known->second.info.modified == info->modified && known->second.info.size == info->size) {
    return known->second.table;
  }
  auto table = readKeywords(environment_.files, folder);
  if (!table) return table;
  if (keywords_.size() > 256) keywords_.clear();
  keywords_[folder.string()] = {*info, *table};
  return table;
}

Result<Marks> MailStore::marks(const MessageKey& key) {
  return withMessage(key, [&](const LocatedMessage& message) -> Result<Marks> {
    // The name may be remembered only: it counts when the file has it.
    const auto there = environment_.files.info(message.path(), FollowLinks::no);
    if (!there) return forward(there);
    const auto table = keywords(message.folder().directory);
    if (!table) return forward(table);
    return Marks::read(MessageName::parse(message.file.name), *table);
  });
}

void MailStore::noteRename(const Path& folder, std::string_view id, MessageFile file) {
  if (auto index = remembered(folder)) index->renamed(id, std::move(file));
}

void MailStore::noteRemoval(const Path& folder, std::string_view id) {
  if (auto index = remembered(folder)) index->removed(id);
}

void MailStore::forget(const Path& folder) {
  remembered_.remove_if([&](const Remembered& entry) { return entry.folder == folder.string(); });
}

}  // namespace quillbox::mailclient
