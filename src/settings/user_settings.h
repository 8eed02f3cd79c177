// The one settings object of the application. Every property is named as its key in the suite
// "group.com.brix.quillbox.group".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/observable.h"
#include "base/result.h"
#include "model/custom_keyboard_shortcut.h"
#include "model/gmail_filing_mode.h"
#include "model/mailbox.h"
#include "model/mailbox_sort.h"
#include "platform/log.h"
#include "platform/user_defaults.h"
#include "settings/enumerations.h"
#include "settings/setting.h"

namespace quillbox {

inline constexpr std::string_view settingsSuite = "group.com.brix.quillbox.group";

// The stored properties. Keys, defaults and what is registered stand in settings/settings_table.h, which does
// not compile when a property has no row there or a row of another name or type.
struct SettingsProperties {
  Setting<std::string> savedVersion;  // application version last seen
  Setting<bool> alwaysReturnFocusToSearch;
  Setting<bool> archiveGmailBeforeFiling;
  Setting<bool> archiveGmailBeforeFilingWarning;  // that warning was shown
  Setting<bool> copyGmailWarning;
  Setting<bool> useLegacyMailboxRetrieval;
  Setting<bool> automaticallyReloadMailboxes;
  Setting<bool> beepAfterFiling;
  Setting<std::int64_t> buildNumber;  // build last seen
  Setting<bool> calculatePositionInMessageViewer;
  Setting<bool> caseSensitive;
  Setting<TruncationModeEnum> truncationMode;
  Setting<SuggestedMailboxLabelStyle> suggestedLabelStyle;
  Setting<FilingActionAppEnum> defaultAction;
  Setting<bool> displayFiledCount;
  Setting<bool> displayMailboxMatchesCount;
  Setting<bool> enableFavoritesSync;
  Setting<EnterModeAppEnum> enterMode;
  Setting<EscapeModeAppEnum> escapeMode;
  Setting<EscapeModeAppEnum> doublePressEscapeMode;
  Setting<EscapeModeAppEnum> triplePressEscapeMode;
  Setting<bool> enableNumberedFiling;
  Setting<bool> disableAutoScrollToTop;
  Setting<std::vector<Mailbox>> excludedMailboxes;
  Setting<std::vector<Mailbox>> favoriteMailboxes;
  Setting<bool> favoritesNameOnly;
  Setting<std::int64_t> filedCount;
  Setting<double> focusedFilingDuration;  // seconds
  Setting<bool> focusedFilingOnAllScreens;
  Setting<double> focusedFilingOpacity;  // 0 to 1
  Setting<bool> focusedFilingResume;
  Setting<bool> focusedFilingShowButton;
  Setting<FilingSoundAppEnum> filingSound;
  Setting<MessageFlagAppEnum> flagFiledMessages;
  Setting<bool> hideDockIcon;
  Setting<bool> installed;               // the filing script is
  Setting<std::int64_t> onboardingPage;  // whoever shows the pages takes an out-of-range value as the first
  Setting<bool> keepOpenAfterFiling;
  Setting<KeyboardShortcutActionAppEnum> keyboardShortcutAction;
  Setting<MessageLabelAppEnum> labelFiledMessages;
  Setting<std::string> listFontName;  // empty for the system font
  Setting<double> listFontSize;       // points
  Setting<bool> mailboxNameOnly;
  Setting<bool> markMessagesAsRead;
  Setting<MoveSelectionDirectionAppEnum> moveSelectionDirection;
  Setting<std::vector<Mailbox>> recentMailboxes;
  Setting<bool> rememberRecentMailboxes;
  Setting<SearchOnActivationAppEnum> searchOnActivationMode;
  Setting<bool> selectedAccountsOnly;
  Setting<bool> prioritizeAccounts;
  Setting<bool> setupKeyboardShortcut;
  Setting<std::vector<MailboxSort>> sortData;
  Setting<JsonText> syncFavoriteMailboxes;
  Setting<bool> useFilingScript;
  Setting<bool> stayOpenAfterFlaggingAndLabeling;
  Setting<bool> stayOpenAfterShowingMailbox;
  Setting<bool> alignWindowToMail;
  Setting<std::vector<GmailFilingMode>> gmailFilingModes;
  Setting<std::vector<CustomKeyboardShortcut>> customKeyboardShortcuts;
  Setting<AlignWindowPositionAppEnum> alignWindowPosition;
  Setting<bool> useLogging;
  Setting<bool> useSmartFilingSuggestions;
  Setting<bool> alwaysShowSmartSuggestionsOnTop;
  Setting<bool> showTrainingButton;
  Setting<NumberedMailboxesFilingModifier> numberedMailboxesFilingModifier;
  Setting<std::uint64_t> floatingCollectionBehavior;  // the window manager's bits
  Setting<std::uint64_t> standardCollectionBehavior;
  Setting<WindowTypeEnum> windowType;
  Setting<bool> quickFile;                        // Return in the search field files into the first row
  Setting<std::vector<std::string>> searchScope;  // names of accounts
  Setting<std::string> cloudFolder;  // which folder carries the favourites; empty: the profile's own
};

// One setting with its value in the two forms in which a command line shows it.
struct SettingValue {
  std::string_view key;
  std::string text;  // bare: a text as it is, everything else as JSON
  std::string json;  // compact JSON
};

// Made once, before any manager. Main queue only.
//
// At start it registers the defaults, reads every key and writes every value back. A stored value that cannot
// be read (a text that is no raw value, a wrong type) gives the key's default; unreadable JSON data is first
// kept under KEY.unreadable, and a line of the log says so. The two window behaviours are set anew at every
// start, whatever was stored.
class UserSettings final : public SettingsProperties, private SettingStore {
 public:
  // Both must outlive it. An error in writing back is logged; the values in memory are right nevertheless.
  UserSettings(UserDefaults& defaults, Log& log);
  ~UserSettings() override = default;
  UserSettings(const UserSettings&) = delete;
  UserSettings& operator=(const UserSettings&) = delete;

  // The global hot key was just pressed. Not stored.
  Observable<bool> shortcutPressed;

  // Takes over what other processes have written since and publishes it.
  void synchronize() { defaults_.synchronize(); }

  // By key, for people and scripts. All keys in table order; settingNotFound names a key that does not exist.
  std::vector<SettingValue> allValues() const;
  Result<SettingValue> valueOf(std::string_view key) const;
  // Reads `text` as a value of the key's type: true or false, a number, a raw text, a raw number, JSON for
  // lists. settingNotFound, or settingValueInvalid naming key, text and what is accepted: then nothing is
  // written. Else an error of writing.
  Result<void> setValue(std::string_view key, std::string_view text);

  // The suite itself, for what is stored beside the settings.
  UserDefaults& defaults() { return defaults_; }

 private:
  Result<void> write(std::string_view key, DefaultsValue value) override;
  Result<bool> writeIfUnchanged(std::string_view key, DefaultsValue value) override;
  // Fails, and says so, when the value could not be read back.
  Result<void> check(std::string_view key, const DefaultsValue& value);
  void load(std::string_view key);
  void writeBack();

  UserDefaults& defaults_;
  Log& log_;
  Subscription changes_;
};

}  // namespace quillbox
