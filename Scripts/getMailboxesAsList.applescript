-- Sends Quillbox its mailbox list one mailbox a record: name, path inside the account, account. It asks the mail
-- client for every single name, which is slow.

on run
	return getMailboxesAsList()
end run

on getMailboxesAsList()
	set mailboxRecords to {}
	tell application "Mail"
		set enabledAccounts to every account whose enabled is true
		set localReferences to every mailbox
	end tell
	set stepCount to (count of enabledAccounts) + 1
	reportProgress(0)

	repeat with accountNumber from 1 to count of enabledAccounts
		set theAccount to item accountNumber of enabledAccounts
		tell application "Mail"
			set theName to name of theAccount
			set theReferences to every mailbox of theAccount
		end tell
		set mailboxRecords to mailboxRecords & recordsOf(theReferences, theName)
		reportProgress(accountNumber / stepCount)
	end repeat

	set mailboxRecords to mailboxRecords & recordsOf(localReferences, "On My Mac")
	reportProgress(1)

	tell application "Quillbox 4" to deliver mailbox list mailboxRecords
	return true
end getMailboxesAsList

on reportProgress(fraction)
	tell application "Quillbox 4" to report loading progress (fraction as real)
end reportProgress

on recordsOf(theReferences, theAccountName)
	set theRecords to {}
	repeat with mailboxNumber from 1 to count of theReferences
		set theMailbox to item mailboxNumber of theReferences
		tell application "Mail" to set theName to name of theMailbox
		set end of theRecords to {mailboxName:theName, mailboxPath:pathOf(theMailbox), mailboxAccount:theAccountName}
	end repeat
	return theRecords
end recordsOf

-- A reference cannot become text; the error that says so holds the path between its first two quotes:
--   Can’t make mailbox "A/B" of account id "4B0C…" of application "Mail" into type text.
on pathOf(theMailbox)
	try
		set theText to theMailbox as text
	on error errorMessage number errorNumber
		if errorNumber is not -1700 then error errorMessage number errorNumber
		set backslash to character id 57344
		set innerQuote to character id 57345
		set printed to replaceText(errorMessage, "\\\\", backslash)
		set printed to replaceText(printed, "\\\"", innerQuote)
		set formerDelimiters to AppleScript's text item delimiters
		set AppleScript's text item delimiters to "\""
		set thePath to text item 2 of printed
		set AppleScript's text item delimiters to formerDelimiters
		return replaceText(replaceText(thePath, innerQuote, "\""), backslash, "\\")
	end try
	error "The mailbox could not be read: " & theText number -1700
end pathOf

on replaceText(theText, searched, replacement)
	set formerDelimiters to AppleScript's text item delimiters
	set AppleScript's text item delimiters to searched
	set pieces to text items of theText
	set AppleScript's text item delimiters to replacement
	set theText to pieces as text
	set AppleScript's text item delimiters to formerDelimiters
	return theText
end replaceText
