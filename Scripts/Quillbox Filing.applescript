-- The filing script of Quillbox. It lives in the user's application-scripts folder and files what the transfer text
-- inside the application cannot: mail of web-mail accounts, which may have to be archived first.
--
-- processMessages gets {path, account, move, keep open}; everything else it asks application "Quillbox 4".

on versionNumber()
	return 8
end versionNumber

-- Files the selected messages into a mailbox. Gives their number.
on processMessages(parameters)
	try
		return fileSelection(parameters)
	on error errorMessage number errorNumber
		-- The application shows what follows the last colon. Of something that is missing that is its name; everything else
		-- is to be shown whole.
		if errorNumber is not -1728 then set errorMessage to withoutColons(errorMessage)
		error errorMessage number errorNumber
	end try
end processMessages

on withoutColons(theText)
	set oldDelimiters to AppleScript's text item delimiters
	set AppleScript's text item delimiters to ":"
	set theParts to text items of theText
	set AppleScript's text item delimiters to "∶"
	set theText to theParts as text
	set AppleScript's text item delimiters to oldDelimiters
	return theText
end withoutColons

on fileSelection(parameters)
	set {mailboxPath, accountName, shouldMove, keepOpen} to parameters
	tell application "Quillbox 4"
		set labelWord to label filed messages
		set flagNumber to flag filed messages
		set marksRead to mark messages as read
		set playsSound to beep after filing
	end tell

	tell application "Mail"
		activate
		set theMessages to get selection
	end tell
	set messageCount to count of theMessages
	if messageCount is 0 then
		if keepOpen then tell application "Quillbox 4" to activate
		return 0
	end if

	-- Everything that can be missing is looked for before anything is touched.
	set theDestination to destinationMailbox(mailboxPath, accountName)
	set theArchives to {}
	if shouldMove then set theArchives to archivesOf(theMessages, theDestination)
	set theNeighbour to neighbourOf(theMessages, shouldMove)

	repeat with messageNumber from 1 to messageCount
		set theMessage to item messageNumber of theMessages
		markMessage(theMessage, marksRead, labelWord, flagNumber)
		set theArchive to missing value
		if shouldMove then set theArchive to item messageNumber of theArchives
		if theArchive is not missing value then
			fileAndArchive(theMessage, theDestination, theArchive)
		else if shouldMove then
			tell application "Mail" to set mailbox of theMessage to theDestination
		else
			tell application "Mail" to duplicate theMessage to theDestination
		end if
	end repeat

	showNeighbour(theNeighbour)
	if playsSound then tell application "Quillbox 4" to play filing sound
	if keepOpen then tell application "Quillbox 4" to activate
	return messageCount
end fileSelection

-- The archive keeps the message, the destination gets a copy of it.
on fileAndArchive(theMessage, theDestination, theArchive)
	tell application "Mail"
		set theCopy to duplicate theMessage to theDestination
		try
			if mailbox of theMessage is not theArchive then set mailbox of theMessage to theArchive
		on error errorMessage number errorNumber
			-- Half filed is not filed: filing the message again is not to make a second copy.
			try
				if mailbox of theCopy is theDestination and id of theCopy is not id of theMessage then delete theCopy
			end try
			error errorMessage number errorNumber
		end try
	end tell
end fileAndArchive

on destinationMailbox(mailboxPath, accountName)
	try
		tell application "Mail"
			if accountName is "On My Mac" then return mailbox mailboxPath
			return mailbox mailboxPath of account accountName
		end tell
	on error errorMessage number errorNumber
		-- -1728 would be shown as a missing archive.
		if errorNumber is not -1728 then error errorMessage number errorNumber
		error "The mailbox '" & mailboxPath & "' in '" & accountName & "' could not be found" number -2404
	end try
end destinationMailbox

-- For each message the mailbox in which it is archived, or missing value when it is filed directly.
on archivesOf(theMessages, theDestination)
	set theArchives to {}
	set knownNames to {}
	set knownArchives to {}
	repeat with messageNumber from 1 to count of theMessages
		set theMessage to item messageNumber of theMessages
		set theArchive to missing value
		tell application "Mail" to set theAccount to account of mailbox of theMessage
		if theAccount is not missing value then
			tell application "Mail" to set theName to name of theAccount
			if knownNames does not contain {theName} then
				set end of knownNames to theName
				set end of knownArchives to archiveOfAccount(theAccount, theName)
			end if
			repeat with i from 1 to count of knownNames
				if item i of knownNames is theName then set theArchive to item i of knownArchives
			end repeat
		end if
		-- What is filed into the archive itself is simply moved there.
		if theArchive is theDestination then set theArchive to missing value
		set end of theArchives to theArchive
	end repeat
	return theArchives
end archivesOf

on archiveOfAccount(theAccount, theName)
	tell application "Mail" to set serverName to (server name of theAccount as rich text)
	if serverName does not contain "gmail" then return missing value
	tell application "Quillbox 4" to set filingMode to gmail filing mode theName
	if filingMode is not 1 then return missing value
	-- The service's own names first, then those that a synchroniser of mail may give it on disk.
	tell application "Mail"
		repeat with archiveName in {"[Gmail]/All Mail", "[Google Mail]/All Mail", "All Mail", "Archive"}
			try
				set theArchive to mailbox (contents of archiveName) of theAccount
				return theArchive
			end try
		end repeat
	end tell
	error "[Gmail]/All Mail (" & theName & ")" number -1728
end archiveOfAccount

on markMessage(theMessage, marksRead, labelWord, flagNumber)
	tell application "Mail"
		if marksRead and read status of theMessage is false then set read status of theMessage to true
		if labelWord is "remove" then
			set background color of theMessage to none
		else if labelWord is "blue" then
			set background color of theMessage to blue
		else if labelWord is "gray" then
			set background color of theMessage to gray
		else if labelWord is "green" then
			set background color of theMessage to green
		else if labelWord is "orange" then
			set background color of theMessage to orange
		else if labelWord is "purple" then
			set background color of theMessage to purple
		else if labelWord is "red" then
			set background color of theMessage to red
		else if labelWord is "yellow" then
			set background color of theMessage to yellow
		end if
		if flagNumber is -2 then
			set flag index of theMessage to -1
		else if flagNumber ≥ 0 and flagNumber ≤ 6 then
			set flag index of theMessage to flagNumber
		end if
	end tell
end markMessage

-- The message that is to be selected when these have left the list: the next one in the direction of the setting, or
-- the nearest on the other side. missing value when the messages stay, or nothing is shown.
on neighbourOf(theMessages, theyLeave)
	if not theyLeave then return missing value
	try
		tell application "Quillbox 4" to set movesDown to move selection down after filing
		tell application "Mail"
			if (count of message viewers) is 0 then return missing value
			set shownMessages to visible messages of message viewer 1
		end tell
		set shownCount to count of shownMessages
		set firstPlace to 0
		set lastPlace to 0
		repeat with i from 1 to shownCount
			if theMessages contains {item i of shownMessages} then
				if firstPlace is 0 then set firstPlace to i
				set lastPlace to i
			end if
		end repeat
		if firstPlace is 0 then return missing value
		if movesDown then
			if lastPlace < shownCount then return item (lastPlace + 1) of shownMessages
			if firstPlace > 1 then return item (firstPlace - 1) of shownMessages
		else
			if firstPlace > 1 then return item (firstPlace - 1) of shownMessages
			if lastPlace < shownCount then return item (lastPlace + 1) of shownMessages
		end if
	end try
	return missing value
end neighbourOf

-- Selecting is a courtesy: the messages are filed, whatever becomes of it.
on showNeighbour(theNeighbour)
	if theNeighbour is missing value then return
	try
		tell application "Mail" to set selected messages of message viewer 1 to {theNeighbour}
	end try
end showNeighbour

on selectMessageDown()
	try
		sendKeyCodeToMail(125, false, false, false, false)
	on error
		selectBeside(1)
	end try
end selectMessageDown

on selectMessageUp()
	try
		sendKeyCodeToMail(126, false, false, false, false)
	on error
		selectBeside(-1)
	end try
end selectMessageUp

-- Selects the message below the last selected one, or above the first, where no keys may be pressed. It knows
-- nothing of conversations.
on selectBeside(direction)
	tell application "Mail"
		if (count of message viewers) is 0 then return
		set shownMessages to visible messages of message viewer 1
		set chosenMessages to selected messages of message viewer 1
	end tell
	set shownCount to count of shownMessages
	set thePlace to 0
	repeat with i from 1 to shownCount
		if chosenMessages contains {item i of shownMessages} and (thePlace is 0 or direction > 0) then set thePlace to i
	end repeat
	if thePlace is 0 then
		if shownCount is 0 then return
		set thePlace to 1
	else
		set thePlace to thePlace + direction
	end if
	if thePlace < 1 or thePlace > shownCount then return
	set theMessage to item thePlace of shownMessages
	tell application "Mail" to set selected messages of message viewer 1 to {theMessage}
end selectBeside

on getFrontmostMailWindowBounds()
	tell application "Mail" to return bounds of window 1
end getFrontmostMailWindowBounds

-- Presses a key in Mail with the modifier keys command, option, control and shift.
on sendKeyCodeToMail(keyCode, withCommand, withOption, withControl, withShift)
	-- A key goes to the application in front; whoever pressed it in Quillbox goes on typing there.
	set isAtHome to frontmost of application "Quillbox 4"
	tell application "Mail" to activate
	set theModifiers to {}
	try
		tell application "System Events"
			if withCommand then set end of theModifiers to command down
			if withOption then set end of theModifiers to option down
			if withControl then set end of theModifiers to control down
			if withShift then set end of theModifiers to shift down
			key code keyCode using theModifiers
		end tell
		if isAtHome then tell application "Quillbox 4" to activate
	on error number errorNumber
		if isAtHome then tell application "Quillbox 4" to activate
		-- One clause: the application shows what follows the last colon.
		error "System Events could not press key " & keyCode & " in Mail" number errorNumber
	end try
end sendKeyCodeToMail
