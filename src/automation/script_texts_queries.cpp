// The texts that ask, and the two that change the selection without filing it.
#include <fmt/format.h>

#include "automation/script_template.h"
#include "automation/script_texts.h"
#include "base/result.h"
#include "base/text.h"

namespace quillbox::script_texts {
namespace {

constexpr std::string_view kAccounts = R"script(set accountsList to {}

tell application "Mail"
	repeat with acct in (a reference to accounts)
		if enabled of acct then
			set end of accountsList to {id of acct, name of acct, server name of acct}
		end
	end repeat
	
	return accountsList
end tell)script";

constexpr std::string_view kAccountNames = R"script(tell application "Mail"
	set names to {}
	repeat with acct in (a reference to accounts)
		set end of names to (name of acct as text)
	end repeat

	set end of names to "On My Mac"

	return names
end tell)script";

constexpr std::string_view kAnyGmailAccounts = R"script(tell application "Mail"
	repeat with acct in (a reference to accounts)
		if (server name of acct as rich text) contains "gmail.com" then return true
	end repeat

	return false
end tell)script";

constexpr std::string_view kMailboxCount = R"script(try
	with timeout of 2 seconds
		tell application "Mail"
			set mboxes to a reference to mailboxes
			set accts to a reference to accounts
			set num to count of mboxes

			repeat with j from 1 to count of accts
				set acct to item j of accts

				if enabled of acct is true then
					set mboxes to mailboxes of acct
					set num to num + (count of mboxes)
				end if
			end repeat

			return num
		end tell
	end timeout
on error errorMessage number errorNumber
	return -1
end try)script";

constexpr std::string_view kSelectedMessages = R"script(tell application "Mail"
	set messagesList to {}
	set theMessages to (get selection)

	repeat with theMessage in theMessages
		if $BODY$ is true then
			set theContent to (content of theMessage)
		else
			set theContent to missing value
		end if

		if $SOURCE$ is true then
			set theSource to (source of theMessage)
		else
			set theSource to missing value
		end if

		set messageDetail to {message id of theMessage, sender of theMessage, subject of theMessage, theContent, theSource}
		set end of messagesList to messageDetail
	end repeat

	return messagesList
end tell)script";

constexpr std::string_view kFrontWindowBounds = R"script(tell application "Mail"
	try
		set theWindow to window 1
		return bounds of theWindow
	on error e
		error e
	end
end tell)script";

constexpr std::string_view kAutomationTest = R"script(tell application "Mail"
 get selection
end tell

activate)script";

constexpr std::string_view kChangeSelection = R"script(tell application "Mail"
 set theMessages to (get selection)

 repeat with theMessage in theMessages
  $LINE$
 end repeat

$INDENT$$REACTIVATE$
end tell)script";

// The line that gives every selected message the label; empty for `none`.
std::string_view labelLine(MessageLabelAppEnum label) {
  switch (label) {
    case MessageLabelAppEnum::none:
      return "";
    case MessageLabelAppEnum::remove:
      return "set background color of theMessage to none";
    case MessageLabelAppEnum::blue:
      return "set background color of theMessage to blue";
    case MessageLabelAppEnum::gray:
      return "set background color of theMessage to gray";
    case MessageLabelAppEnum::green:
      return "set background color of theMessage to green";
    case MessageLabelAppEnum::orange:
      return "set background color of theMessage to orange";
    case MessageLabelAppEnum::purple:
      return "set background color of theMessage to purple";
    case MessageLabelAppEnum::red:
      return "set background color of theMessage to red";
    case MessageLabelAppEnum::yellow:
      return "set background color of theMessage to yellow";
  }
  return "";
}

std::string changeSelection(std::string_view line, std::string_view indent, Reactivate reactivate) {
  return fillTemplate(kChangeSelection,
                      {{"LINE", line},
                       {"INDENT", indent},
                       {"REACTIVATE", reactivate == Reactivate::yes ? activateQuillbox : ""}});
}

}  // namespace

std::string fillTemplate(std::string_view text, std::initializer_list<Insertion> insertions) {
  std::string out;
  while (true) {
    const auto open = text.find('$');
    out += text.substr(0, open);
    if (open == std::string_view::npos) return out;
    const auto close = text.find('$', open + 1);
    if (close == std::string_view::npos) fatal("a script text with an open insertion");
    const auto name = text.substr(open + 1, close - open - 1);
    bool known = false;
    for (const auto& insertion : insertions) {
      if (insertion.name != name) continue;
      out += insertion.value;
      known = true;
      break;
    }
    if (!known) fatal(fmt::format("a script text asks for {}, which is not given", name));
    text.remove_prefix(close + 1);
  }
}

std::string escapedForScript(std::string_view name) {
  return escapedForShowScript(text::replaceAll(std::string(name), "\\", "\\\\"));
}

std::string escapedForShowScript(std::string_view name) {
  return text::replaceAll(std::string(name), "\"", "\\\"");
}

std::string accounts() {
  return std::string(kAccounts);
}

std::string accountNames() {
  return std::string(kAccountNames);
}

std::string anyGmailAccounts() {
  return std::string(kAnyGmailAccounts);
}

std::string mailboxCount() {
  return std::string(kMailboxCount);
}

std::string selectedMessages(Include body, Include source) {
  return fillTemplate(kSelectedMessages, {{"BODY", trueOrFalse(body == Include::yes)},
                                          {"SOURCE", trueOrFalse(source == Include::yes)}});
}

std::string frontWindowBounds() {
  return std::string(kFrontWindowBounds);
}

std::string automationTest() {
  return std::string(kAutomationTest);
}

std::optional<std::string> flagSelection(std::int64_t flagIndex, Reactivate reactivate) {
  if (flagIndex < -1 || flagIndex > 6) return std::nullopt;
  return changeSelection(fmt::format("set flag index of theMessage to {}", flagIndex), "  ", reactivate);
}

std::optional<std::string> labelSelection(MessageLabelAppEnum label, Reactivate reactivate) {
  const auto line = labelLine(label);
  if (line.empty()) return std::nullopt;
  return changeSelection(line, " ", reactivate);
}

}  // namespace quillbox::script_texts
