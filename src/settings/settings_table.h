// The settings' table: every key with its property, default and registration, in the order of the
// registration dictionary. It does not compile when a key, its property and its registration disagree.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "settings/user_settings.h"

namespace quillbox::settings_table {

enum class Registration {
  registered,    // its default stands in the registration dictionary
  unregistered,  // a missing value reads as the default all the same
  forced         // registered, and set to the default at every start
};

template <class Property>
struct PropertyTraits;
template <class T>
struct PropertyTraits<Setting<T> SettingsProperties::*> {
  using Value = T;
};

template <auto Member>
using ValueOf = typename PropertyTraits<std::remove_cv_t<decltype(Member)>>::Value;
template <auto Member>
using CodecOf = setting_codec::SettingCodec<ValueOf<Member>>;

// The name of a member, out of the compiler's own description of this function:
// "... [with auto Member = &quillbox::SettingsProperties::caseSensitive; ...]".
template <auto Member>
consteval std::string_view memberName() {
  const std::string_view all = __PRETTY_FUNCTION__;
  const std::string_view from = all.substr(all.find("Member = ") + 9);
  const std::string_view qualified = from.substr(0, from.find_first_of(";]"));
  return qualified.substr(qualified.rfind("::") + 2);
}

template <auto Member>
struct Row {
  static constexpr auto member = Member;
  std::string_view key;
  typename CodecOf<Member>::Literal fallback;  // the default, and what an unreadable value reads as
  Registration registration;

  consteval bool namesItsMember() const { return key == memberName<Member>(); }
  ValueOf<Member> fallbackValue() const { return CodecOf<Member>::fromLiteral(fallback); }
};

template <auto Member>
consteval Row<Member> row(std::string_view key, typename CodecOf<Member>::Literal fallback,
                          Registration registration = Registration::registered) {
  return {key, fallback, registration};
}

using P = SettingsProperties;
inline constexpr setting_codec::EmptyList empty{};

inline constexpr std::tuple table{
    row<&P::savedVersion>("savedVersion", ""),
    row<&P::alwaysReturnFocusToSearch>("alwaysReturnFocusToSearch", true),
    row<&P::archiveGmailBeforeFiling>("archiveGmailBeforeFiling", true),
    row<&P::archiveGmailBeforeFilingWarning>("archiveGmailBeforeFilingWarning", false),
    row<&P::copyGmailWarning>("copyGmailWarning", true),
    row<&P::useLegacyMailboxRetrieval>("useLegacyMailboxRetrieval", false),
    row<&P::automaticallyReloadMailboxes>("automaticallyReloadMailboxes", true),
    row<&P::beepAfterFiling>("beepAfterFiling", false),
    row<&P::buildNumber>("buildNumber", 0, Registration::unregistered),
    row<&P::calculatePositionInMessageViewer>("calculatePositionInMessageViewer", false),
    row<&P::caseSensitive>("caseSensitive", false),
    row<&P::truncationMode>("truncationMode", TruncationModeEnum::tail),
    row<&P::suggestedLabelStyle>("suggestedLabelStyle", SuggestedMailboxLabelStyle::titleOnly),
    row<&P::defaultAction>("defaultAction", FilingActionAppEnum::move),
    row<&P::displayFiledCount>("displayFiledCount", true),
    row<&P::displayMailboxMatchesCount>("displayMailboxMatchesCount", true),
    row<&P::enableFavoritesSync>("enableFavoritesSync", false),
    row<&P::enterMode>("enterMode", EnterModeAppEnum::file),
    row<&P::escapeMode>("escapeMode", EscapeModeAppEnum::close),
    row<&P::doublePressEscapeMode>("doublePressEscapeMode", EscapeModeAppEnum::nothing),
    row<&P::triplePressEscapeMode>("triplePressEscapeMode", EscapeModeAppEnum::nothing),
    row<&P::enableNumberedFiling>("enableNumberedFiling", false),
    row<&P::disableAutoScrollToTop>("disableAutoScrollToTop", false),
    row<&P::excludedMailboxes>("excludedMailboxes", empty),
    row<&P::favoriteMailboxes>("favoriteMailboxes", empty),
    row<&P::favoritesNameOnly>("favoritesNameOnly", false),
    row<&P::filedCount>("filedCount", 0),
    row<&P::focusedFilingDuration>("focusedFilingDuration", 0.5),
    row<&P::focusedFilingOnAllScreens>("focusedFilingOnAllScreens", true),
    row<&P::focusedFilingOpacity>("focusedFilingOpacity", 0.75),
    row<&P::focusedFilingResume>("focusedFilingResume", true),
    row<&P::focusedFilingShowButton>("focusedFilingShowButton", false),
    row<&P::filingSound>("filingSound", FilingSoundAppEnum::system),
    row<&P::flagFiledMessages>("flagFiledMessages", MessageFlagAppEnum::none),
    row<&P::hideDockIcon>("hideDockIcon", false),
    row<&P::installed>("installed", false, Registration::unregistered),
    row<&P::onboardingPage>("onboardingPage", 0),
    row<&P::keepOpenAfterFiling>("keepOpenAfterFiling", true),
    row<&P::keyboardShortcutAction>("keyboardShortcutAction", KeyboardShortcutActionAppEnum::toggle),
    row<&P::labelFiledMessages>("labelFiledMessages", MessageLabelAppEnum::none),
    row<&P::listFontName>("listFontName", ""),
    row<&P::listFontSize>("listFontSize", 12.0),
    row<&P::mailboxNameOnly>("mailboxNameOnly", false),
    row<&P::markMessagesAsRead>("markMessagesAsRead", true),
    row<&P::moveSelectionDirection>("moveSelectionDirection", MoveSelectionDirectionAppEnum::down),
    row<&P::recentMailboxes>("recentMailboxes", empty),
    row<&P::rememberRecentMailboxes>("rememberRecentMailboxes", false),
    row<&P::searchOnActivationMode>("searchOnActivationMode", SearchOnActivationAppEnum::retain),
    row<&P::selectedAccountsOnly>("selectedAccountsOnly", false),
    row<&P::prioritizeAccounts>("prioritizeAccounts", false),
    row<&P::setupKeyboardShortcut>("setupKeyboardShortcut", false),
    row<&P::sortData>("sortData", empty),
    row<&P::syncFavoriteMailboxes>("syncFavoriteMailboxes", empty),
    row<&P::useFilingScript>("useFilingScript", false),
    row<&P::stayOpenAfterFlaggingAndLabeling>("stayOpenAfterFlaggingAndLabeling", false),
    row<&P::stayOpenAfterShowingMailbox>("stayOpenAfterShowingMailbox", false),
    row<&P::alignWindowToMail>("alignWindowToMail", false),
    row<&P::gmailFilingModes>("gmailFilingModes", empty),
    row<&P::customKeyboardShortcuts>("customKeyboardShortcuts", empty),
    row<&P::alignWindowPosition>("alignWindowPosition", AlignWindowPositionAppEnum::right),
    row<&P::useLogging>("useLogging", false),
    row<&P::useSmartFilingSuggestions>("useSmartFilingSuggestions", false),
    row<&P::alwaysShowSmartSuggestionsOnTop>("alwaysShowSmartSuggestionsOnTop", false),
    row<&P::showTrainingButton>("showTrainingButton", true),
    row<&P::numberedMailboxesFilingModifier>("numberedMailboxesFilingModifier",
                                             NumberedMailboxesFilingModifier::controlOptionCommand),
    // moves to the active space (2), ignores window cycling (64)
    row<&P::floatingCollectionBehavior>("floatingCollectionBehavior", 2 + 64, Registration::forced),
    // managed (4), takes part in window cycling (32), full-screen auxiliary (256), full-screen tiling (2048)
    row<&P::standardCollectionBehavior>("standardCollectionBehavior", 4 + 32 + 256 + 2048,
                                        Registration::forced),
    row<&P::windowType>("windowType", WindowTypeEnum::floating, Registration::unregistered),
    row<&P::quickFile>("quickFile", false, Registration::unregistered),
    row<&P::searchScope>("searchScope", empty, Registration::unregistered),
    row<&P::cloudFolder>("cloudFolder", "", Registration::unregistered),
};

inline constexpr std::size_t size = std::tuple_size_v<decltype(table)>;

consteval std::array<std::string_view, size> allKeys() {
  return std::apply([](const auto&... rows) { return std::array<std::string_view, size>{rows.key...}; },
                    table);
}

consteval std::size_t registeredCount() {
  return std::apply(
      [](const auto&... rows) {
        return ((rows.registration != Registration::unregistered ? 1U : 0U) + ... + 0U);
      },
      table);
}

consteval bool keysAreDistinct() {
  const auto keys = allKeys();
  for (std::size_t i = 0; i < size; ++i) {
    for (std::size_t j = i + 1; j < size; ++j) {
      if (keys[i] == keys[j]) return false;
    }
  }
  return true;
}

template <class... Rows>
consteval bool everyKeyNamesItsProperty(const std::tuple<Rows...>&) {
  return ((std::get<Rows>(table).namesItsMember()) && ...);
}

// Properties are all of pointer alignment, so that they fill the structure without gaps.
template <class... Rows>
consteval std::size_t sizeOfProperties(const std::tuple<Rows...>&) {
  return (sizeof(Setting<ValueOf<Rows::member>>) + ... + 0U);
}

static_assert(everyKeyNamesItsProperty(table), "a key and its property have different names");
static_assert(keysAreDistinct(), "a key stands in the table twice");
static_assert(sizeOfProperties(table) == sizeof(SettingsProperties), "a property has no row, or two");
static_assert(registeredCount() == 65, "the registration dictionary has 65 entries");
static_assert(size == registeredCount() + 6,
              "buildNumber, installed, windowType, quickFile, searchScope, cloudFolder");

}  // namespace quillbox::settings_table
