-- Which accounts of the search scope the mail client still has, in the scope's order. An account that was renamed
-- or removed would otherwise leave a scope in which nothing is found.

-- chosenNames: account names, one a line; "On My Mac" stands for the local mailboxes.
on getAccountScope(chosenNames)
	set knownNames to {"On My Mac"}
	tell application "Mail"
		repeat with theAccount in (every account whose enabled is true)
			set end of knownNames to (name of theAccount as text)
		end repeat
	end tell
	set scopeNames to {}
	considering case and diacriticals
		repeat with chosenName in (paragraphs of chosenNames)
			set theName to contents of chosenName
			if knownNames contains theName then set end of scopeNames to theName
		end repeat
	end considering
	return scopeNames
end getAccountScope
