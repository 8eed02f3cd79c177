-- Filters on the objects of an application.
tell application "Depot" to get name of every crate of shelf 1 whose weight > 7  -- expect: {"apples", "pears"}
tell application "Depot" to get name of crates of shelf 1 where sealed is true  -- expect: {"pears"}
tell application "Depot" to get name of first crate of shelf 1 whose name starts with "p"  -- expect: "pears"
tell application "Depot" to get name of last crate of shelf 1 whose name contains "p"  -- expect: "plums"
tell application "Depot" to count of (crates of shelf 1 whose weight ≥ 10 and not sealed)  -- expect: 1
tell application "Depot" to count (crates of main shelf whose sealed or tint is red)  -- expect: 2
----
set limit to 15
tell application "Depot" to get id of (every crate of shelf 1 whose weight is less than limit)
-- expect: {1, 3}
----
tell application "Depot" to get id of crates of shelf 1 whose name is in {"plums", "pears"}  -- expect: {2, 3}
tell application "Depot" to get name of every shelf whose name does not contain "o"  -- expect: {"Empty"}
----
tell application "Depot" to get name of every shelf whose its load limit < 100
-- expect: {"South \"old\"", "Empty"}
----
tell application "Depot" to get a reference to (every crate of shelf 1 whose tint is green)
-- expect: every crate of shelf 1 of application "Depot" whose tint = green
----
tell application "Depot"
	set heavy to a reference to (crates of shelf 1 whose weight > 6 and name ends with "s")
	{count of heavy, name of item 2 of heavy, exists (crates of shelf 1 whose weight > 100)}
end tell
-- expect: {2, "pears", true}
----
tell application "Depot" to get crate 1 of shelf 1 whose name is "nothing"  -- expect error: -1719
tell application "Depot" to get every crate of shelf 1 whose nonsense of it is 1  -- expect error: -1728
every item of {1, 2, 3} whose contents > 1  -- expect error: -1728
----
tell application "Depot" to delete (every crate of shelf 1 whose weight < 10)
tell application "Depot" to get name of crates of shelf 1
-- expect: {"apples", "pears"}
----
tell application "Depot"
	set tint of (every crate of shelf 1 whose tint is not red) to red
	get tint of every crate of shelf 1
end tell
-- expect: {red, red, red}
----
tell application "Depot" to get name of every shelf whose name of first crate is "apples"  -- expect error: -1719
----
ignoring case
	tell application "Depot" to get id of every crate of shelf 1 whose name is "PLUMS"
end ignoring
-- expect: {3}
----
considering case
	tell application "Depot" to get id of every crate of shelf 1 whose name is "PLUMS"
end considering
-- expect: {}
