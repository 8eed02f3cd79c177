// The mail accounts of a profile: mail/accounts.json.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "mailclient/environment.h"
#include "mailclient/folders.h"

namespace quillbox::mailclient {

inline constexpr std::string_view localAccountName = "On My Mac";

enum class AccountType { imap, pop, smtp, iCloud, unknown };
std::string_view accountTypeName(AccountType type);
// "imap", "pop", "smtp", "iCloud" (in any case, also "mac") and "unknown".
std::optional<AccountType> accountTypeFromName(std::string_view name);

struct MailAccount {
  std::string id;  // a UUID; of the local store its name
  std::string name;
  Path path;
  std::string server;
  AccountType type = AccountType::imap;
  bool enabled = true;
  std::vector<std::string> emailAddresses;
  std::string userName;
  std::string fullName;
  Layout layout = Layout::maildirPlusPlus;

  bool isLocal() const { return name == localAccountName; }
  bool operator==(const MailAccount&) const = default;
};

// Any thread, one call at a time; several processes may use the same file at once.
class AccountStore {
 public:
  explicit AccountStore(const Environment& environment) : environment_(environment) {}

  // The accounts in the order in which they were added, without the local store. Reads the file again when it
  // changed. A file that does not decode is kept aside under another name, logged, and the list is empty.
  Result<std::vector<MailAccount>> accounts();
  // Where the local mailboxes are: mail/local, which need not be there yet, unless they were pointed
  // elsewhere.
  Result<MailAccount> localStore();

  // Adds an account over the Maildir at `account.path`, an absolute path; `id` and `layout` are filled in.
  // The name "On My Mac" points the local mailboxes there. Fails with accountExists, invalidName or
  // maildirUnusable.
  Result<MailAccount> add(MailAccount account);
  // Forgets the account; its mail stays where it is. Fails with accountNotFound.
  Result<void> remove(std::string_view name);
  // Replaces the account with the same id. Fails with accountNotFound, accountExists (another has the new
  // name) or invalidName.
  Result<void> update(const MailAccount& account);

  // Removes drafts that a process that died has left.
  void removeDrafts();

 private:
  Result<std::vector<MailAccount>> load();
  Result<std::vector<MailAccount>> decode(const std::string& text) const;
  Result<void> save(const std::vector<MailAccount>& all);
  Result<std::unique_ptr<FileLock>> lock();
  Path file() const { return environment_.directory / "accounts.json"; }

  const Environment& environment_;
  std::vector<MailAccount> known_;  // the local store among them when it was pointed elsewhere
  std::optional<FileInfo> read_;    // the file that `known_` was read from
};

}  // namespace quillbox::mailclient
