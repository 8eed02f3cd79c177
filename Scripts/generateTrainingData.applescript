-- Gives Quillbox the metadata of messages, from which its suggestions learn and for which they are made.
--
-- With two empty texts: the messages that are selected. With the path of a mailbox and the name of its account
-- ("On My Mac" for a local one): every message in that mailbox. A message that goes away meanwhile is left out.
--
-- Returns a list of records: the texts subject, sender, originalAccount, mailboxPath, mailboxAccount and messageID,
-- the boolean isSent and, for mail that the user sent, recipients, the addresses joined by commas. The keys stand
-- between bars, so that they stay plain words where the mail client has terms of the same spelling.

on generateTrainingData(mailboxPath, mailboxAccount)
	if mailboxPath is "" and mailboxAccount is "" then return examplesOfSelection()
	return examplesOfMailbox(mailboxPath, mailboxAccount)
end generateTrainingData

-- The selected messages may be on their way into a mailbox: what can be asked only of a message in its place is asked
-- first of all of them.
on examplesOfSelection()
	set theDetails to {}
	tell application "Mail"
		set theMessages to (get selection)
		repeat with messageReference in theMessages
			try
				set theMessage to contents of messageReference
				set end of theDetails to {theMessage, subject of theMessage, sender of theMessage, message id of theMessage, mailbox of theMessage}
			on error errorMessage number errorNumber
				if errorNumber is -128 then error errorMessage number errorNumber
			end try
		end repeat
	end tell

	set ownAddresses to addressesOfUser()
	set theExamples to {}
	repeat with detailReference in theDetails
		set {theMessage, theSubject, theSender, theID, theMailbox} to contents of detailReference
		try
			set theAccount to accountNameOf(theMailbox)
			set thePath to pathOf(theMailbox)
			set end of theExamples to exampleOf(theMessage, theSubject, theSender, theID, thePath, theAccount, ownAddresses)
		on error errorMessage number errorNumber
			if errorNumber is -128 then error errorMessage number errorNumber
		end try
	end repeat
	return theExamples
end examplesOfSelection

-- Asks for each property of all messages at once, which is far faster than message by message. The ids are asked for
-- before and after the rest: when they differ, something came or went, and the lists need not belong together.
on examplesOfMailbox(mailboxPath, mailboxAccount)
	set ownAddresses to addressesOfUser()
	tell application "Mail"
		try
			if mailboxAccount is "On My Mac" then
				set theMailbox to mailbox mailboxPath
			else
				set theMailbox to mailbox mailboxPath of account mailboxAccount
			end if
		on error number -1728
			error "The mailbox '" & mailboxPath & "' in '" & mailboxAccount & "' could not be found" number -2404
		end try
		set theMessages to every message of theMailbox
		set theIDs to message id of every message of theMailbox
		set theSubjects to subject of every message of theMailbox
		set theSenders to sender of every message of theMailbox
		set laterIDs to message id of every message of theMailbox
	end tell
	set areTogether to theIDs is equal to laterIDs and (count of theMessages) is equal to (count of theIDs)

	set theExamples to {}
	repeat with messageNumber from 1 to count of theMessages
		try
			set theMessage to item messageNumber of theMessages
			if areTogether then
				set theSubject to item messageNumber of theSubjects
				set theSender to item messageNumber of theSenders
				set theID to item messageNumber of theIDs
			else
				tell application "Mail"
					set theSubject to subject of theMessage
					set theSender to sender of theMessage
					set theID to message id of theMessage
				end tell
			end if
			set end of theExamples to exampleOf(theMessage, theSubject, theSender, theID, mailboxPath, mailboxAccount, ownAddresses)
		on error errorMessage number errorNumber
			if errorNumber is -128 then error errorMessage number errorNumber
		end try
	end repeat
	return theExamples
end examplesOfMailbox

on exampleOf(theMessage, theSubject, theSender, theID, thePath, theAccount, ownAddresses)
	set senderText to textOf(theSender)
	set theExample to {|subject|:textOf(theSubject), |sender|:senderText, |originalAccount|:theAccount, |messageID|:textOf(theID), |mailboxPath|:thePath, |mailboxAccount|:theAccount, |isSent|:false}
	if ownAddresses contains addressOf(senderText) or isSentMailbox(thePath) then
		set theExample to theExample & {|recipients|:recipientsOf(theMessage)}
		set |isSent| of theExample to true
	end if
	return theExample
end exampleOf

on addressesOfUser()
	set theAddresses to {}
	tell application "Mail"
		repeat with theAccount in every account
			try
				repeat with theAddress in (email addresses of theAccount)
					set end of theAddresses to contents of theAddress
				end repeat
			end try
		end repeat
	end tell
	return theAddresses
end addressesOfUser

-- "Ada <ada@example.org>" gives ada@example.org, a sender without brackets itself.
on addressOf(theSender)
	if theSender does not contain "<" then return theSender
	set formerDelimiters to AppleScript's text item delimiters
	set AppleScript's text item delimiters to {"<", ">"}
	set pieces to text items of theSender
	set AppleScript's text item delimiters to formerDelimiters
	if (count of pieces) is less than 3 then return theSender
	return item -2 of pieces
end addressOf

on isSentMailbox(thePath)
	set formerDelimiters to AppleScript's text item delimiters
	set AppleScript's text item delimiters to "/"
	set theName to last text item of thePath
	set AppleScript's text item delimiters to formerDelimiters
	return {"Sent", "Sent Messages", "Sent Mail", "Sent Items"} contains theName
end isSentMailbox

-- Nothing when the message has gone meanwhile: the rest of the example is still right.
on recipientsOf(theMessage)
	try
		tell application "Mail"
			set theAddresses to (address of every to recipient of theMessage) & (address of every cc recipient of theMessage)
		end tell
	on error errorMessage number errorNumber
		if errorNumber is -128 then error errorMessage number errorNumber
		return ""
	end try
	set formerDelimiters to AppleScript's text item delimiters
	set AppleScript's text item delimiters to ","
	set joined to theAddresses as text
	set AppleScript's text item delimiters to formerDelimiters
	return joined
end recipientsOf

on accountNameOf(theMailbox)
	tell application "Mail"
		set theAccount to account of theMailbox
		if theAccount is missing value then return "On My Mac"
		return name of theAccount
	end tell
end accountNameOf

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

on textOf(theValue)
	if theValue is missing value then return ""
	return theValue as text
end textOf
