-- Sends Quillbox its mailbox list: one record for each enabled account and one for the local mailboxes, with
-- the printed form of all references to the mailboxes, such as
--   mailbox "Projects/2024" of account id "4B0C…" of application "Mail"
-- Printing a whole list at once is far faster than asking for each mailbox's name.

on run
	return getMailboxesAsListV2()
end run

on getMailboxesAsListV2()
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
		set theText to printedReferences(theReferences)
		-- An account without a mailbox has nothing to deliver, and an empty record would spoil the others.
		if theText is not "" then set end of mailboxRecords to {accountName:theName, mailboxText:theText}
		reportProgress(accountNumber / stepCount)
	end repeat

	set theText to printedReferences(localReferences)
	if theText is not "" then set end of mailboxRecords to {accountName:"On My Mac", mailboxText:theText}
	reportProgress(1)

	tell application "Quillbox 4" to deliver mailbox references mailboxRecords
	return true
end getMailboxesAsListV2

on reportProgress(fraction)
	tell application "Quillbox 4" to report loading progress (fraction as real)
end reportProgress

-- References cannot become text; the error that says so holds all of them as text.
on printedReferences(theReferences)
	if (count of theReferences) is 0 then return ""
	try
		set theText to theReferences as text
	on error errorMessage number errorNumber
		if errorNumber is not -1700 then error errorMessage number errorNumber
		return plainBackslashes(errorMessage)
	end try
	error "The mailboxes could not be read: " & theText number -1700
end printedReferences

-- In a printed name a backslash is written twice and a quote behind a backslash. Quillbox takes only the second
-- of the two for what it is, so every doubled backslash becomes a single one here. Where one stands at the end of
-- a name a slash goes between it and the closing quote; a path that ends in a slash names the same mailbox.
on plainBackslashes(theText)
	if theText does not contain "\\\\" then return theText
	set mark to character id 57344
	set theText to replaceText(theText, "\\\\", mark)
	set theText to replaceText(theText, mark & "\"", mark & "/\"")
	return replaceText(theText, mark, "\\")
end plainBackslashes

on replaceText(theText, searched, replacement)
	set formerDelimiters to AppleScript's text item delimiters
	set AppleScript's text item delimiters to searched
	set pieces to text items of theText
	set AppleScript's text item delimiters to replacement
	set theText to pieces as text
	set AppleScript's text item delimiters to formerDelimiters
	return theText
end replaceText
