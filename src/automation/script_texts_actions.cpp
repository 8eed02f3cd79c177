// The texts that file messages, show mailboxes and make new ones.
#include <fmt/format.h>

#include "automation/script_template.h"
#include "automation/script_texts.h"

namespace quillbox::script_texts {
namespace {

constexpr std::string_view kTransfer = R"script(tell application "Mail"
 activate

 try
  set theMessages to get selection

  if "$ACCOUNT$" is "On My Mac" then
   set destMailbox to mailbox "$PATH$"
   set destAccount to missing value
  else
   set destMailbox to mailbox "$PATH$" of account "$ACCOUNT$"
   set destAccount to account "$ACCOUNT$"
  end if

  if $LABEL_ON$ is true then
   set shouldLabelFiledMessages to true
  else
   set shouldLabelFiledMessages to false
  end if

  if $FLAG_ON$ is true then
   set shouldFlagFiledMessages to true
  else
   set shouldFlagFiledMessages to false
  end if

  try
   set warnAboutGmailAccounts to false
   set usingMultipleAccounts to false
   set theAccounts to {}

   repeat with theMessage in theMessages
	if (account of mailbox of theMessage) is not equal to missing value then
	 set messageAccount to account of mailbox of theMessage
	 set serverName to (server name of messageAccount as rich text)

	 if serverName contains "gmail" then
   error "$REQUIRED$" number -1404
	 end if

	 if theAccounts does not contain serverName then
	  set end of theAccounts to serverName
	 end if
	end if
   end repeat

  on error errMessage number errNum
   error errMessage number errNum
  end try

  -- Perform the actual filing after archiving
  repeat with theMessage in theMessages
   if $READ$ is true and read status of theMessage is false then
	set read status of theMessage to true
   end if

   if shouldLabelFiledMessages then
		if $REMOVE$ is "remove" then
			set background color of theMessage to none
		else if $BLUE$ is "blue" then
			set background color of theMessage to blue
		else if $GRAY$ is "gray" then
			set background color of theMessage to gray
		else if $GREEN$ is "green" then
			set background color of theMessage to green
		else if $ORANGE$ is "orange" then
			set background color of theMessage to orange
		else if $PURPLE$ is "purple" then
			set background color of theMessage to purple
		else if $RED$ is "red" then
			set background color of theMessage to red
		else if $YELLOW$ is "yellow" then
			set background color of theMessage to yellow
	end if
   end if

   if shouldFlagFiledMessages then
 if $FLAG$ is -2 then
	 set flag index of theMessage to -1
 else if $FLAG$ ≥ 0 and $FLAG$ ≤ 6 then
  set flag index of theMessage to $FLAG$
	end if
	 end if

   if $MOVE$ is true then
	set mailbox of theMessage to destMailbox
   else
	duplicate theMessage to destMailbox
   end if
  end repeat

  set messageCount to length of theMessages

  if messageCount > 0 and $SOUND$ is true then tell application "Quillbox 4" to play filing sound

  $REACTIVATE$

  return messageCount

 on error errMsg number errNum
  error errMsg number errNum
 end try
end tell)script";

constexpr std::string_view kShowInFrontmostViewer = R"script(tell application "Mail"
	try
		if "$ACCOUNT$" is "On My Mac" then
			set theMailbox to mailbox "$PATH$"
		else
			set theMailbox to mailbox "$PATH$" of account "$ACCOUNT$"
		end if
	on error
		set errorMessage to "The mailbox '$PATH$' in '$ACCOUNT$' could not be found"
		error errorMessage number -2404
	end try

	$ACTIVATION$

	set messageViewers to message viewers
	set frontmostIndex to 10000000
	set frontmostMessageViewer to missing value

	repeat with messageViewer in messageViewers
		set theWindow to window of messageViewer
		if (index of theWindow as number) is less than frontmostIndex and visible of messageViewer is true then
			set frontmostIndex to (index of theWindow as number)
			set frontmostMessageViewer to messageViewer
		end if
	end repeat

	try
		tell frontmostMessageViewer
			set selected mailboxes to theMailbox
		end tell
	on error e
		make new message viewer
		tell (message viewer 1) to set selected mailboxes to theMailbox
			set theWindow to window of message viewer 1
			set frontmostIndex to (index of theWindow as number)
	end try

	-- This will fail in the sandbox
	try
		tell application "System Events" to tell application process "Mail"
			perform action "AXRaise" of window frontmostIndex
		end tell
	on error e

	end try
end tell)script";

constexpr std::string_view kShowInNewViewer = R"script(  tell application "Mail"
try
 if "$ACCOUNT$" is "On My Mac" then
  set theMailbox to mailbox "$PATH$"
 else
  set theMailbox to mailbox "$PATH$" of account "$ACCOUNT$"
 end if
  on error
 set errorMessage to "The mailbox '$PATH$' in '$ACCOUNT$' could not be found"
			 error errorMessage number -2404
end

 $ACTIVATION$

 set newMessageViewer to make new message viewer
 set selected mailboxes of newMessageViewer to theMailbox
end tell)script";

constexpr std::string_view kCreateMailbox = R"script(tell application "Mail"
 try
  if "$ACCOUNT$" is "On My Mac" then
   if "$PARENT$" is "" then
 try
  set existingMailbox to mailbox "$NAME$"
 on error
  make new mailbox with properties { name: "$NAME$" }
  return true
 end error

 error "$EXISTS$" number -2100
   else
 try
  set existingMailbox to mailbox "$FULL$"
 on error
  make new mailbox with properties { name: "$FULL$" }
  return true
 end error

 error "$EXISTS$" number -2100
   end if
  else
	set theAccount to account "$ACCOUNT$"
	if account type of theAccount is unknown then
		error "Could not create mailbox '" & "$FULL$" & "' in the " & "$ACCOUNT$" & " account.

Use Apple Mail to create a new mailbox instead." number -2500
	end if

   tell account "$ACCOUNT$"
 if "$PARENT$" is "" then
  try
   set existingMailbox to mailbox "$NAME$"
  on error
   make new mailbox with properties { name: "$NAME$" }
   return true
  end error

  error "$EXISTS$" number -2100
 else
   try
	set existingMailbox to mailbox "$FULL$"
   on error
	make new mailbox with properties { name: "$FULL$" }
	return true
   end error

   error "$EXISTS$" number -2100
 end if
   end tell
  end if
 on error errMsg number errNumber
  error errMsg number errNumber
 end try
end tell)script";

}  // namespace

std::string transferSelectedMessages(std::string_view path, std::string_view account,
                                     const TransferOptions& options) {
  const auto token = [&](MessageLabelAppEnum label, std::string_view word) {
    return options.label == label ? word : std::string_view("false");
  };
  using enum MessageLabelAppEnum;
  const std::string flag = fmt::format("{}", static_cast<int>(options.flag));
  return fillTemplate(kTransfer, {{"ACCOUNT", escapedForScript(account)},
                                  {"PATH", escapedForScript(path)},
                                  {"LABEL_ON", trueOrFalse(options.label != none)},
                                  {"FLAG_ON", trueOrFalse(options.flag != MessageFlagAppEnum::none)},
                                  {"REQUIRED", options.scriptRequiredMessage},
                                  {"READ", trueOrFalse(options.markAsRead)},
                                  {"REMOVE", token(remove, "remove")},
                                  {"BLUE", token(blue, "blue")},
                                  {"GRAY", token(gray, "gray")},
                                  {"GREEN", token(green, "green")},
                                  {"ORANGE", token(orange, "orange")},
                                  {"PURPLE", token(purple, "purple")},
                                  {"RED", token(red, "red")},
                                  {"YELLOW", token(yellow, "yellow")},
                                  {"FLAG", flag},
                                  {"MOVE", trueOrFalse(options.mode == TransferMode::move)},
                                  {"SOUND", trueOrFalse(options.playSound)},
                                  {"REACTIVATE", options.reactivate ? activateQuillbox : ""}});
}

bool staysQuotedWhenShown(std::string_view name) {
  const std::string quoted = escapedForShowScript(name) + '"';
  for (std::size_t i = 0; i < quoted.size(); ++i) {
    if (quoted[i] == '"') return i + 1 == quoted.size();
    if (quoted[i] == '\\') ++i;
  }
  return false;  // the closing quote was taken for a character of the name
}

std::string showMailbox(std::string_view path, std::string_view account, Activation activation,
                        Viewer viewer) {
  return fillTemplate(viewer == Viewer::frontmost ? kShowInFrontmostViewer : kShowInNewViewer,
                      {{"ACCOUNT", escapedForShowScript(account)},
                       {"PATH", escapedForShowScript(path)},
                       {"ACTIVATION", activation == Activation::mail ? "activate" : activateQuillbox}});
}

std::string createMailbox(std::string_view name, std::string_view parentPath, std::string_view account,
                          std::string_view existsMessage) {
  const std::string escapedName = escapedForScript(name);
  const std::string escapedParent = escapedForScript(parentPath);
  return fillTemplate(kCreateMailbox, {{"ACCOUNT", escapedForScript(account)},
                                       {"PARENT", escapedParent},
                                       {"NAME", escapedName},
                                       {"FULL", escapedParent + "/" + escapedName},
                                       {"EXISTS", escapedForScript(existsMessage)}});
}

}  // namespace quillbox::script_texts
