-- Sends Quillbox its mailbox list one mailbox a record: name, path inside the account, account. It asks the mail
-- client for every name, which is slow, but relies on nothing else than names and containers.

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
		set end of theRecords to {mailboxName:theName, mailboxPath:pathOf(theMailbox, theName), mailboxAccount:theAccountName}
	end repeat
	return theRecords
end recordsOf

-- The names of all containers up to the account, joined by slashes. Beyond the topmost mailbox stands nothing, or the
-- account, which is in no account itself.
on pathOf(theMailbox, theName)
	set thePath to theName
	set theContainer to theMailbox
	repeat
		try
			tell application "Mail"
				set theContainer to container of theContainer
				if theContainer is missing value then return thePath
				get account of theContainer
				set thePath to (name of theContainer) & "/" & thePath
			end tell
		on error
			return thePath
		end try
	end repeat
end pathOf
