// The numbers of the errors that Quillbox itself raises, in one place so that none is used twice.
// AppleScript's own numbers (-128, -600, -17xx, -27xx, -10000 and so on) stand in applescript/errors.h.
#pragma once

#include <cstdint>

namespace quillbox::error_number {

// Scripts and the runner.
inline constexpr std::int64_t scriptTextFailed = -1000;      // a script text failed and gave no number
inline constexpr std::int64_t scriptNotLoaded = -1001;       // a resource script could not be loaded
inline constexpr std::int64_t scriptHandlerFailed = -1002;   // a handler failed and gave no number
inline constexpr std::int64_t filingScriptRequired = -1404;  // the action needs the installed filing script
inline constexpr std::int64_t objectNotFound = -1728;        // the mail client could not find an object
inline constexpr std::int64_t unparsedFailure = -2000;  // a filing-script failure without a readable number
inline constexpr std::int64_t mailboxExists = -2100;    // create mailbox: it is there already
inline constexpr std::int64_t mailboxNotFound = -2404;  // the named mailbox is not in the named account
inline constexpr std::int64_t mailboxCannotBeMade = -2500;  // that kind of account takes no new mailboxes
inline constexpr std::int64_t accountsUnavailable = -3404;  // the account queries failed
inline constexpr std::int64_t incompletePayload = -1700;    // a delivered mailbox list is not complete

// Conditions that the user can mend.
inline constexpr std::int64_t mailNotRunning = -600;
inline constexpr std::int64_t noMessagesSelected = -4001;
inline constexpr std::int64_t messageNotFound = -4002;
inline constexpr std::int64_t accountNotFound = -4003;
inline constexpr std::int64_t accountExists = -4004;
inline constexpr std::int64_t settingNotFound = -4005;
inline constexpr std::int64_t settingValueInvalid = -4006;
inline constexpr std::int64_t nothingMatches = -4007;   // a query gives no row
inline constexpr std::int64_t damagedFile = -4008;      // a file of ours does not decode
inline constexpr std::int64_t maildirUnusable = -4009;  // a mail folder is missing, unreadable or no Maildir
inline constexpr std::int64_t invalidName = -4010;      // a name that cannot name a mailbox or an account
inline constexpr std::int64_t wrongUsage = -4011;       // the command line does not parse
inline constexpr std::int64_t notAvailable = -4012;     // this host or build cannot do that
inline constexpr std::int64_t textNotUtf8 = -4013;
inline constexpr std::int64_t favoritesSyncOff = -4014;  // favourites sync was asked for and is switched off

}  // namespace quillbox::error_number
