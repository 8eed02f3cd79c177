#include "filing/gmail_filing_mode_manager.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

namespace quillbox {

GmailFilingModeManager::GmailFilingModeManager(UserSettings& settings, AccountManager& accounts, Log& log)
    : settings_(settings), accounts_(accounts), log_(log) {
  load();
}

void GmailFilingModeManager::load() {
  modes_.set(settings_.gmailFilingModes.get());
}

Result<void> GmailFilingModeManager::save() {
  return settings_.gmailFilingModes.set(modes_.get());
}

std::optional<GmailFilingMode> GmailFilingModeManager::modeForAccount(std::string_view account) const {
  const auto& modes = modes_.get();
  const auto it = std::ranges::find(modes, account, &GmailFilingMode::account);
  return it != modes.end() ? std::optional(*it) : std::nullopt;
}

Result<void> GmailFilingModeManager::setMode(std::string_view account, GmailFilingModeEnum mode) {
  auto modes = modes_.get();
  const auto it = std::ranges::find(modes, account, &GmailFilingMode::account);
  if (it != modes.end()) {
    it->shouldArchiveBeforeFiling = mode;
  } else {
    modes.push_back({std::string(account), std::string(account), mode});
  }
  modes_.set(std::move(modes));
  return save();
}

void GmailFilingModeManager::synchronizeWithAccounts(std::function<void(QuillboxResult<void>)> completion) {
  accounts_.getAccounts([this, completion = std::move(completion)](const auto& accounts) {
    if (!accounts) return completion(std::unexpected(accounts.error()));
    for (const auto& account : *accounts) {
      if (text::lowercase(account.server).find("gmail") == std::string::npos) continue;
      log_.debug("Should handle gmail account: " + account.name);
      if (modeForAccount(account.name)) {
        log_.debug("mode " + account.name + " exists");
        continue;
      }
      log_.debug("mode " + account.name + " adding");
      (void)setMode(account.name, GmailFilingModeEnum::useDefault);
    }
    completion({});
  });
}

std::int32_t GmailFilingModeManager::answerForAccount(std::string_view account) const {
  const auto mode = modeForAccount(account);
  if (mode && mode->shouldArchiveBeforeFiling != GmailFilingModeEnum::useDefault) {
    return static_cast<std::int32_t>(mode->shouldArchiveBeforeFiling);
  }
  return settings_.archiveGmailBeforeFiling.get() ? 1 : 2;
}

}  // namespace quillbox
