// One criterion by which the mailbox list is sorted; in a list of them the first decides, later ones break
// ties.
#pragma once

#include <compare>
#include <string>
#include <string_view>
#include <vector>

#include "base/raw_enum.h"
#include "base/result.h"

namespace quillbox {

// The text that is compared: the mailbox's path or the account's name.
enum class MailboxSortPathAppEnum { mailbox, account };
template <>
struct RawTexts<MailboxSortPathAppEnum> {
  static constexpr std::array<std::string_view, 2> values{"mailbox", "account"};
};

enum class SortOrder { forward, reverse };
template <>
struct RawTexts<SortOrder> {
  static constexpr std::array<std::string_view, 2> values{"forward", "reverse"};
};

struct MailboxSort {
  MailboxSortPathAppEnum path = MailboxSortPathAppEnum::mailbox;
  SortOrder order = SortOrder::forward;

  auto operator<=>(const MailboxSort&) const = default;
};

// JSON: [{"path":"account","order":"reverse"}]. Decoding fails with error_number::damagedFile, for a text
// that is no raw value too; a list decodes whole or not at all.
std::string encodeMailboxSorts(const std::vector<MailboxSort>& sorts);
Result<std::vector<MailboxSort>> decodeMailboxSorts(std::string_view json);

}  // namespace quillbox
