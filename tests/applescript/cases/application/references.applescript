-- Every form of reference to the objects of an application. The depot has the shelves North (crates 1 to 3),
-- South "old" (crate 4) and Empty.
tell application "Depot" to get shelf 1  -- expect: shelf id "N" of application "Depot"
----
tell application "Depot" to get every shelf
-- expect: {shelf id "N" of application "Depot", shelf id "S" of application "Depot", shelf id "E" of application "Depot"}
----
tell application "Depot"
	get {last shelf, front shelf, second shelf, middle shelf, shelf -2}
end tell
-- expect: {shelf id "E" of application "Depot", shelf id "N" of application "Depot", shelf id "S" of application "Depot", shelf id "S" of application "Depot", shelf id "S" of application "Depot"}
----
tell application "Depot" to get name of shelf "north"  -- expect: "North"
tell application "Depot" to get id of shelf named "South \"old\""  -- expect: "S"
----
tell application "Depot"
	get name of crate id 4 of shelf id "S"
end tell
-- expect: "Äpfel \\ Birnen"
----
name of crate id 2 of shelf id "N" of application "Depot"  -- expect: "pears"
application "Depot"'s shelf 2's name  -- expect: "South \"old\""
tell application "Depot" to get name of every crate of shelf 1  -- expect: {"apples", "pears", "plums"}
----
tell application "Depot" to get name of crates of shelves
-- expect: {{"apples", "pears", "plums"}, {"Äpfel \\ Birnen"}, {}}
----
tell application "Depot" to get name of crates 1 thru 2 of shelf 1  -- expect: {"apples", "pears"}
----
tell application "Depot" to get name of crates from crate "pears" to crate "plums" of shelf 1
-- expect: {"pears", "plums"}
----
tell application "Depot" to tell shelf 1
	get {name of crate before crate "pears", name of crate after crate id 2}
end tell
-- expect: {"apples", "plums"}
----
tell application "Depot" to get name of some shelf is in {"North", "South \"old\"", "Empty"}  -- expect: true
----
tell application "Depot" to get a reference to crate 1 of shelf "North"
-- expect: crate 1 of shelf "North" of application "Depot"
----
tell application "Depot" to set r to a reference to name of every crate of shelf 1
{r, contents of r}
-- expect: {name of every crate of shelf 1 of application "Depot", {"apples", "pears", "plums"}}
----
tell application "Depot" to get main shelf  -- expect: shelf id "N" of application "Depot"
tell application "Depot" to get load limit of shelf of crate 2 of main shelf  -- expect: 100
----
tell application "Depot" to get picked crates
-- expect: {crate id 3 of shelf id "N" of application "Depot", crate id 1 of shelf id "N" of application "Depot"}
----
tell application "Depot" to get {name of item 1 of picked crates, name of picked crates, count of picked crates}
-- expect: {"plums", {"plums", "apples"}, 2}
----
-- `crate id` is a property, and a class with a key.
tell application "Depot" to get {crate id of crate 2 of shelf 1, name of crate id 2 of shelf 1}
-- expect: {"C-2", "pears"}
----
tell application "Depot" to get {class of shelf 1, class of shelf 1 is shelf, tint of crate 1 of shelf 1, class of (get shelf 1)}
-- expect: {shelf, true, red, shelf}
----
tell application "Depot" to get length of name of shelf 1  -- expect: 5
tell application "Depot" to get word 2 of (name of crate 1 of shelf 2 as text)  -- expect: "Birnen"
tell application "Depot" to get character 1 of name of shelf 1  -- expect: "N"
tell application id "com.example.depot" to get name  -- expect: "Depot"
{name, running} of application "Depot"  -- expect: {"Depot", true}
----
tell application "Depot" to get {name, load limit} of every shelf
-- expect: {{"North", "South \"old\"", "Empty"}, {100, 50, 10}}
----
set r to {a:1, b:2}
{a, b} of r
-- expect: {1, 2}
----
tell application "Depot" to {its name, running, motto of it}  -- expect: {"Depot", true, "Handle with care"}
----
tell application "Depot" to get packing date of crate 1 of shelf 1
-- expect: date "Friday, January 2, 1970 at 12:00:00 AM"
----
tell application "Depot" to get notes of crate 1 of shelf 1  -- expect: missing value
tell application "Depot" to get «property mott»  -- expect: "Handle with care"
tell application "Depot" to get name of «class shlf» 1  -- expect: "North"
----
using terms from application "Depot"
	set theTint to deep sea blue
end using terms from
theTint
-- expect: deep sea blue
----
tell application "Depot" to get {tint of crate 1 of shelf 2 is deep sea blue, tint of crate 1 of shelf 1 is "red", red is "remove", "Deep Sea Blue" = deep sea blue}
-- expect: {true, true, false, true}
----
tell application "Depot" to get tint of crate 1 of shelf 2 as text  -- expect: "deep sea blue"
----
tell application "Depot"
	set s to shelf 1
	tell s
		set c to crate 1
		{c, name of it, its load limit}
	end tell
end tell
-- expect: {crate id 1 of shelf id "N" of application "Depot", "North", 100}
----
-- References are compared by their structure.
tell application "Depot" to get {shelf 1 is main shelf, (get shelf 1) is not (get shelf 2), shelf of crate 1 of shelf 1 = main shelf}
-- expect: {true, true, true}
----
tell app "Depot" to get name  -- expect: "Depot"
name of app "Depot"  -- expect: "Depot"
----
tell application "Depot" to set inside to it is running
{application "Depot" is running, application "Depot" is not running, running of application "Depot", inside}
-- expect: {true, false, true, true}
----
if application "Depot" is running then "on"  -- expect: "on"
----
tell application "Depot"
	set c to crate "pears" of shelf 1
	{name of crate after c, name of crate before c, name of crate after crate 1 of shelf 1, a reference to crate after crate 1 of shelf 1}
end tell
-- expect: {"plums", "apples", "pears", crate after crate 1 of shelf 1 of application "Depot"}
----
tell application "Depot" to get name of crate after crate "plums" of shelf 1
-- expect error: -1728 Depot got an error: Can’t get crate after crate "plums" of shelf 1.
----
-- All that the dictionary lists, with the terms as labels.
tell application "Depot"
	set p to properties of shelf 1
	set q to properties of crate 1 of shelf 1
	{p, name of q, weight of q, class of q, count properties of every crate of shelf 1}
end tell
-- expect: {{class:shelf, id:"N", name:"North", load limit:100}, "apples", 10.0, crate, 3}
