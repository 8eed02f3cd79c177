// Which web-mail accounts have their messages archived before they are filed.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "automation/account_manager.h"
#include "base/observable.h"
#include "model/gmail_filing_mode.h"
#include "platform/log.h"
#include "settings/user_settings.h"

namespace quillbox {

// Main queue only. Keeps its list under the setting "gmailFilingModes".
class GmailFilingModeManager {
 public:
  // Loads the list.
  GmailFilingModeManager(UserSettings& settings, AccountManager& accounts, Log& log);

  Observable<std::vector<GmailFilingMode>>& modes() { return modes_; }
  const Observable<std::vector<GmailFilingMode>>& modes() const { return modes_; }
  // State of the settings sheet.
  Observable<bool> showingEdit;
  Observable<bool> showingAlert;
  Observable<std::optional<GmailFilingMode>> selection;

  void load();
  Result<void> save();

  // The entry of exactly this account name, if there is one.
  std::optional<GmailFilingMode> modeForAccount(std::string_view account) const;

  // Sets the mode of an account, adding an entry where there is none, and saves.
  Result<void> setMode(std::string_view account, GmailFilingModeEnum mode);

  // Adds an entry for every account whose server name contains "gmail", whatever its case. Entries of
  // accounts that are gone stay. `completion` is called once, with the error of the accounts query if it
  // failed.
  void synchronizeWithAccounts(std::function<void(QuillboxResult<void>)> completion);

  // 1: archive before filing, 2: file directly; the account's own mode before the setting
  // "archiveGmailBeforeFiling".
  std::int32_t answerForAccount(std::string_view account) const;

 private:
  UserSettings& settings_;
  AccountManager& accounts_;
  Log& log_;
  Observable<std::vector<GmailFilingMode>> modes_;
};

}  // namespace quillbox
