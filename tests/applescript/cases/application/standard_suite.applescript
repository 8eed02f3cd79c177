-- get, set, count, exists, make, delete, move, duplicate.
tell application "Depot"
	set name of shelf 1 to "Nord"
	get name of shelf "nord"
end tell
-- expect: "Nord"
----
tell application "Depot"
	tell shelf 1 to set load limit to 7
	set motto to "x" & load limit of shelf 1
	motto
end tell
-- expect: "x7"
----
tell application "Depot"
	set weight of every crate of shelf 1 to 2
	set contents of (a reference to weight of crate 1 of shelf 1) to 3
	get weight of crates of shelf 1
end tell
-- expect: {3.0, 2.0, 2.0}
----
tell application "Depot"
	repeat with c in picked crates
		set sealed of c to true
		set shelf of c to shelf "Empty"
	end repeat
	{name of crates of shelf 1, name of crates of shelf "Empty"}
end tell
-- expect: {{"pears"}, {"plums", "apples"}}
----
tell application "Depot"
	set picked crates to {crate 2 of shelf 1, crate 1 of shelf 2}
	get id of picked crates
end tell
-- expect: {2, 4}
----
tell application "Depot" to {count of shelves, count shelves, number of shelves, count every crate of shelf 1, count of crates of shelf "Empty", (count of crates of shelf 2) + 1}
-- expect: {3, 3, 3, 3, 0, 2}
----
tell application "Depot" to count shelf 1 each crate  -- expect: 3
----
tell application "Depot" to {exists shelf "North", exists shelf "none such", shelf 9 exists, not (exists crate 1 of shelf 3), exists name of shelf 1}
-- expect: {true, false, false, true, true}
----
tell application "Depot"
	if exists (shelf "North") then return "there"
end tell
-- expect: "there"
----
tell application "Depot" to make new shelf with properties {name:"West", load limit:3}
-- expect: shelf id "S10" of application "Depot"
----
tell application "Depot"
	set s to make new shelf
	set name of s to "West"
	tell s to make new crate with properties {name:"nuts", weight:1.5, tint:green}
	make new crate at beginning of crates of s with properties {name:"figs"}
	make new crate at end of s with properties {name:"dates"}
	name of crates of shelf "West"
end tell
-- expect: {"figs", "nuts", "dates"}
----
tell application "Depot" to tell shelf "Empty" to make new crate with properties {name:"a"}
tell application "Depot" to get name of crate 1 of shelf "Empty"
-- expect: "a"
----
tell application "Depot"
	delete crate 1 of shelf 1
	count crates of shelf 1
end tell
-- expect: 2
----
tell application "Depot" to tell crate 3 of shelf 1 to delete
tell application "Depot" to get name of crates of shelf 1
-- expect: {"apples", "pears"}
----
tell application "Depot"
	set moved to move crate 1 of shelf 1 to shelf 2
	{moved, name of crates of shelf 2}
end tell
-- expect: {crate id 1 of shelf id "S" of application "Depot", {"Äpfel \\ Birnen", "apples"}}
----
tell application "Depot"
	move crate "plums" of shelf 1 to beginning of shelf 1
	move crate "apples" of shelf 1 to after crate "pears" of shelf 1
	name of crates of shelf 1
end tell
-- expect: {"plums", "pears", "apples"}
----
tell application "Depot"
	move (crates of shelf 1) to end of crates of shelf "Empty"
	{count crates of shelf 1, id of crates of shelf "Empty"}
end tell
-- expect: {0, {1, 2, 3}}
----
tell application "Depot"
	set d to duplicate crate 1 of shelf 1 to shelf "Empty" with properties {name:"more apples"}
	duplicate crate 2 of shelf 1
	{d, name of d, name of crates of shelf 1, name of crates of shelf "Empty"}
end tell
-- expect: {crate id 10 of shelf id "E" of application "Depot", "more apples", {"apples", "pears", "plums", "pears"}, {"more apples"}}
----
-- The object of a loop is a reference that is asked again each time.
tell application "Depot"
	set names to {}
	repeat with s in (a reference to shelves)
		if load limit of s > 20 then set end of names to {id of s, name of s}
	end repeat
	names
end tell
-- expect: {{"N", "North"}, {"S", "South \"old\""}}
----
tell application "Depot"
	repeat with s in shelves
	end repeat
	s
end tell
-- expect: item 3 of {shelf id "N" of application "Depot", shelf id "S" of application "Depot", shelf id "E" of application "Depot"}
----
tell application "Depot"
	repeat with s in (a reference to shelves)
	end repeat
	s
end tell
-- expect: item 3 of every shelf of application "Depot"
----
tell application "Depot"
	set everything to a reference to shelves
	set total to 0
	repeat with i from 1 to count of everything
		set s to item i of everything
		set total to total + (count of crates of s)
	end repeat
	total
end tell
-- expect: 4
