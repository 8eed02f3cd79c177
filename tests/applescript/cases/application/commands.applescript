-- Commands of an application's own, with and without parameters.
tell application "Depot" to weigh crate 1 of shelf 1  -- expect: 10.0
tell application "Depot" to weigh crates of shelf 1  -- expect: 35.5
tell application "Depot" to weigh (picked crates) in unit "grams"  -- expect: 1.5E+4
tell application "Depot" to weigh picked crates with gross  -- expect: 16.0
tell application "Depot" to weigh picked crates in unit "grams" without gross  -- expect: 1.5E+4
----
tell application "Depot"
	set theCrates to {}
	repeat with c in crates of shelf 1
		set end of theCrates to c
	end repeat
	weigh theCrates
end tell
-- expect: 35.5
----
tell application "Depot" to if true and not false then tell application "Depot" to ring the bell  -- expect:
----
tell application "Depot"
	set x to 1 + (weigh crate 3 of shelf 1)
	x
end tell
-- expect: 6.0
----
tell application "Depot" to stock up with list {{crateName:"a", crateShelf:"North"}, {crateName:"b"}}
-- expect: true
----
tell application "Depot" to stock up with list {{crateName:""}}  -- expect: false
----
tell application "Depot" to stock up with list {}
-- expect error: -1700 Depot got an error: Nothing to stock up with.
----
-- Values go there and back unchanged; references are resolved on the way.
tell application "Depot" to echo {1, 2.5, "ä", true, missing value, {a:1, b:{2}}, red, shelf, shelf 1, date "1/2/2020"}
-- expect: {1, 2.5, "ä", true, missing value, {a:1, b:{2}}, red, shelf, shelf id "N" of application "Depot", date "Thursday, January 2, 2020 at 12:00:00 AM"}
----
tell application "Depot" to tell shelf 2 to echo  -- expect: shelf id "S" of application "Depot"
echo 3  -- expect syntax error
----
tell application "Depot" to frobnicate()
-- expect error: -1708 application "Depot" doesn’t understand the “frobnicate” message.
----
on helper(x)
	return x * 2
end helper
tell application "Depot" to return {my helper(2), helper(3) of me}
-- expect: {4, 6}
----
tell application "Depot"
	set {a, b} to {offset of "p" in "apples", round 2.5}
	{a, b, count of "abc", length of {1, 2}}
end tell
-- expect: {2, 2, 3, 2}
----
-- A script's own name for a term of the dictionary stands between bars.
tell application "Depot"
	set |weight| to 5
	|weight| + (weight of crate 1 of shelf 1)
end tell
-- expect: 15.0
----
script keeper
	property weight : 4
	on heavier()
		set my weight to weight + 1
		return weight
	end heavier
end script
tell application "Depot" to set w to keeper's heavier()
{w, weight of keeper}
-- expect: {5, 5}
----
activate application "Depot"  -- expect error: -1708
