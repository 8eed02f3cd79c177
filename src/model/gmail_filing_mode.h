// Whether the messages of one web-mail account are archived before they are filed.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace quillbox {

enum class GmailFilingModeEnum : std::int64_t {
  useDefault = 0,  // follow the setting "archiveGmailBeforeFiling"
  archive = 1,
  direct = 2  // without archiving
};

struct GmailFilingMode {
  std::string id;  // equal to the account name when made here
  std::string account;
  GmailFilingModeEnum shouldArchiveBeforeFiling = GmailFilingModeEnum::useDefault;

  auto operator<=>(const GmailFilingMode&) const = default;
};

// JSON: [{"id":…,"account":…,"shouldArchiveBeforeFiling":0}]. Decoding fails with error_number::damagedFile,
// for a mode other than 0, 1, 2 too; a list decodes whole or not at all.
std::string encodeGmailFilingModes(const std::vector<GmailFilingMode>& modes);
Result<std::vector<GmailFilingMode>> decodeGmailFilingModes(std::string_view json);

}  // namespace quillbox
