-- What applications refuse, and how it reads.
tell application "Depot" to get shelf "none such"
-- expect error: -1728 Depot got an error: Can’t get shelf "none such".
----
tell application "Depot" to get name of crate "x" of shelf "North"
-- expect error: -1728 Depot got an error: Can’t get crate "x" of shelf "North".
----
tell application "Depot" to get shelf 7
-- expect error: -1719 Depot got an error: Can’t get shelf 7. Invalid index.
----
tell application "Depot" to get crate 0 of shelf 1
-- expect error: -1719 Depot got an error: Can’t get crate 0 of shelf 1. Invalid index.
----
tell application "Depot" to get tint of shelf 1
-- expect error: -1728 Depot got an error: Can’t get tint of shelf 1.
----
tell application "Depot" to get every crate  -- expect error: -1728 Depot got an error: Can’t get every crate.
----
tell application "Depot" to set id of shelf 1 to "x"
-- expect error: -10003 Depot got an error: Can’t set id of shelf 1 to "x". Access not allowed.
----
tell application "Depot" to set tint of crate 1 of shelf 1 to "red"
-- expect error: -10006 Depot got an error: Can’t set tint of crate 1 of shelf 1 to "red".
----
tell application "Depot" to set load limit of shelf "North" to "much"
-- expect error: -1700 Depot got an error: Can’t set load limit of shelf "North" to "much".
----
tell application "Depot" to set sealed of crate 1 of shelf 1 to 3
-- expect error: -1703 Depot got an error: 3 is the wrong type.
----
tell application "Depot" to set shelf 1 to 3  -- expect error: -10006 Depot got an error: Can’t set shelf 1 to 3.
----
tell application "Depot" to delete crate 2 of shelf 1
-- expect error: -10000 Depot got an error: The crate is sealed.
----
tell application "Depot" to delete shelf 1  -- expect error: -10000 Depot got an error: AppleEvent handler failed.
----
tell application "Depot" to make new fragile crate
-- expect error: -2710 Depot got an error: Can’t make class fragile crate.
----
tell application "Depot" to move crate 1 of shelf 1 to it
-- expect error: -10024 Depot got an error: Can’t make or move that element into that container.
----
tell application "Depot" to move crate 1 of shelf 1  -- expect error: -1701 The to parameter is missing for move.
tell application "Depot" to weigh {1, 2}  -- expect error: -1703
tell application "Nowhere" to activate  -- expect error: -1728 Can’t get application "Nowhere".
----
with timeout of 2 seconds
	tell application "Depot" to dawdle for 1
end timeout
tell application "Depot" to dawdle for 100
"patient"
-- expect: "patient"
----
with timeout of 2 seconds
	tell application "Depot"
		dawdle for 3
		get name of every shelf
	end tell
end timeout
-- expect error: -1712 Depot got an error: AppleEvent timed out.
----
try
	with timeout of 2 seconds
		tell application "Depot" to dawdle for 5
	end timeout
on error errorMessage number errorNumber
	return -1
end try
-- expect: -1
----
-- The reference stays whole where the language complains, and loses its application where that does.
tell application "Depot" to set s to (get shelves) as text
-- expect error: -1700 Can’t make {shelf id "N" of application "Depot", shelf id "S" of application "Depot", shelf id "E" of application "Depot"} into type text.
----
tell application "Depot"
	try
		set theText to (shelves as text)
	on error m
		set theText to m
	end try
end tell
theText contains "shelf id \"S\" of application \"Depot\""
-- expect: true
----
tell application "Depot"
	try
		get name of crate 12 of shelf 1
	on error m number n from o
		return {n, o}
	end try
end tell
-- expect: {-1719, crate 12 of shelf 1 of application "Depot"}
----
tell application "Depot" to get shelf 1 + 1
-- expect error: -1700 Can’t make shelf id "N" of application "Depot" into type number.
----
tell application "Depot"
	tell shelf "missing"
		set x to 1
	end tell
	tell shelf "missing" to get name
end tell
-- expect error: -1728 Depot got an error: Can’t get shelf "missing".
----
tell missing value to set name to "x"  -- expect error: -10006 Can’t set name of missing value to "x".
tell application "Depot" to error "mine" number -1404  -- expect error: -1404 mine
----
tell application "Depot"
	try
		error "x" number 12
	on error errMsg number errNum
		error errMsg number errNum
	end try
end tell
-- expect error: 12 x
