// A key with modifiers that the user bound to an action inside the application.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/raw_enum.h"
#include "base/result.h"

namespace quillbox {

enum class CustomKeyboardShortcutAction {
  keepOpenAfterFiling,
  enterMode,
  alwaysReturnFocusToSearch,
  selectedAccountsOnly,
  mailboxNameOnly,
  beepAfterFiling,
  alignWindowToMail,
  moveMessages,
  copyMessages,
  archiveMessages,
  toggleReadStatus,
  toggleFlag,
  showMailbox,
  showMailboxInNewViewer,
  addToFavorites,
  removeFromFavorites,
  newMailbox,
  newMailboxTopLevel,
  reloadMailboxes,
  focusedFiling,
  defaultActionPrevious,
  defaultActionNext,
  focusOnSearchField,
  openMail,
  menuAction,
  useSmartFilingSuggestions,
  alwaysShowSuggestedMailboxesOnTop,
  prioritizeAccounts,
  enableNumberedFiling,
  trainMailbox
};
template <>
struct RawTexts<CustomKeyboardShortcutAction> {
  static constexpr std::array<std::string_view, 30> values{"keepOpenAfterFiling",
                                                           "enterMode",
                                                           "alwaysReturnFocusToSearch",
                                                           "selectedAccountsOnly",
                                                           "mailboxNameOnly",
                                                           "beepAfterFiling",
                                                           "alignWindowToMail",
                                                           "moveMessages",
                                                           "copyMessages",
                                                           "archiveMessages",
                                                           "toggleReadStatus",
                                                           "toggleFlag",
                                                           "showMailbox",
                                                           "showMailboxInNewViewer",
                                                           "addToFavorites",
                                                           "removeFromFavorites",
                                                           "newMailbox",
                                                           "newMailboxTopLevel",
                                                           "reloadMailboxes",
                                                           "focusedFiling",
                                                           "defaultActionPrevious",
                                                           "defaultActionNext",
                                                           "focusOnSearchField",
                                                           "openMail",
                                                           "menuAction",
                                                           "useSmartFilingSuggestions",
                                                           "alwaysShowSuggestedMailboxesOnTop",
                                                           "prioritizeAccounts",
                                                           "enableNumberedFiling",
                                                           "trainMailbox"};
};

struct CustomKeyboardShortcut {
  CustomKeyboardShortcutAction action = CustomKeyboardShortcutAction::keepOpenAfterFiling;
  std::string keyEquivalent;   // one character
  std::int64_t modifiers = 0;  // the platform's event-modifier bits
  bool enabled = true;

  auto operator<=>(const CustomKeyboardShortcut&) const = default;
};

// JSON: [{"action":"moveMessages","keyEquivalent":"m","modifiers":1048576,"enabled":true}]. Decoding fails
// with error_number::damagedFile; a keyEquivalent of any other length than one character with exactly the
// message "Invalid character string". A list decodes whole or not at all.
std::string encodeCustomKeyboardShortcuts(const std::vector<CustomKeyboardShortcut>& shortcuts);
Result<std::vector<CustomKeyboardShortcut>> decodeCustomKeyboardShortcuts(std::string_view json);

}  // namespace quillbox
