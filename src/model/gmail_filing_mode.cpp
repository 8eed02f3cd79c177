#include "model/gmail_filing_mode.h"

#include <utility>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/json.h"

namespace quillbox {
namespace {

constexpr const char* kMode = "shouldArchiveBeforeFiling";

Json toJson(const GmailFilingMode& mode) {
  Json json = Json::object();
  json["id"] = mode.id;
  json["account"] = mode.account;
  json[kMode] = static_cast<std::int64_t>(mode.shouldArchiveBeforeFiling);
  return json;
}

Result<GmailFilingMode> fromJson(const Json& json, std::string_view what) {
  auto id = textMember(json, "id", what);
  if (!id) return forward(id);
  auto account = textMember(json, "account", what);
  if (!account) return forward(account);
  const auto mode = integerMember(json, kMode, what);
  if (!mode) return forward(mode);
  if (*mode < 0 || *mode > 2) {
    return fail(error_number::damagedFile,
                fmt::format("\"{}\" of {} is {}, not 0, 1 or 2.", kMode, what, *mode));
  }
  return GmailFilingMode{*std::move(id), *std::move(account), static_cast<GmailFilingModeEnum>(*mode)};
}

}  // namespace

std::string encodeGmailFilingModes(const std::vector<GmailFilingMode>& modes) {
  return writeJson(arrayOf(modes, toJson));
}

Result<std::vector<GmailFilingMode>> decodeGmailFilingModes(std::string_view json) {
  return decodeArray<GmailFilingMode>(json, "filing mode", fromJson);
}

}  // namespace quillbox
