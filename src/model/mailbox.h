// One mail folder. All mailbox identity rests on the rule here: account name, "/", path inside the account.
#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace quillbox {

// The account name of local mailboxes.
inline constexpr std::string_view onMyMac = "On My Mac";

// account + "/" + path: exactly one "/" between them, nothing trimmed, escaped or folded.
std::string mailboxId(std::string_view account, std::string_view path);

// Two values with the same id and different names differ; lists keyed by identity compare `id` themselves.
struct Mailbox {
  std::string id;
  std::string name;     // as the mail client shows it: the last element of the path
  std::string path;     // elements joined by "/", inside the account
  std::string account;  // the account's name; onMyMac for local mailboxes

  // Fills in the id.
  static Mailbox make(std::string name, std::string path, std::string account);

  bool isLocal() const { return account == onMyMac; }

  auto operator<=>(const Mailbox&) const = default;
};

// JSON: {"name":…,"path":…,"account":…}, in this order, without the id.
std::string encodeMailbox(const Mailbox& mailbox);
std::string encodeMailboxes(const std::vector<Mailbox>& mailboxes);

// Fail with error_number::damagedFile on the first thing that is wrong; a list decodes whole or not at all.
// Other members of an object are passed over.
Result<Mailbox> decodeMailbox(std::string_view json);
Result<std::vector<Mailbox>> decodeMailboxes(std::string_view json);

}  // namespace quillbox

template <>
struct std::hash<quillbox::Mailbox> {
  std::size_t operator()(const quillbox::Mailbox& mailbox) const noexcept;
};
