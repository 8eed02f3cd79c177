// One mail account, as the mail client tells of it.
#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace quillbox {

struct Account {
  std::string id;      // the mail client's
  std::string name;    // what Mailbox::account holds
  std::string server;  // host name; only used to recognise web-mail accounts

  auto operator<=>(const Account&) const = default;
};

// JSON: {"id":…,"name":…,"server":…}. Decoding fails with error_number::damagedFile; a list decodes whole or
// not at all.
std::string encodeAccounts(const std::vector<Account>& accounts);
Result<std::vector<Account>> decodeAccounts(std::string_view json);

}  // namespace quillbox

template <>
struct std::hash<quillbox::Account> {
  std::size_t operator()(const quillbox::Account& account) const noexcept;
};
