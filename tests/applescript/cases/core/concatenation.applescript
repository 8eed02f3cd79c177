"a" & "b" & "c"  -- expect: "abc"
----
-- A text on the left makes a text of what is on the right.
{"x" & 5, "x" & 1.5, "x" & true, "x" & missing value, "x" & {1, 2}}
-- expect: {"x5", "x1.5", "xtrue", "xmissing value", "x12"}
----
-- Anything else on the left makes a list.
{66 & "x", 1 & 2, true & false, {1} & "a", {1} & {2, 3}, {} & {}}
-- expect: {{66, "x"}, {1, 2}, {true, false}, {1, "a"}, {1, 2, 3}, {}}
----
1 & {2, 3}  -- expect: {1, 2, 3}
{1, 2} & {{3}}  -- expect: {1, 2, {3}}
-- Two records become one; the left one wins.
{a:1, b:2} & {b:3, c:4}  -- expect: {a:1, b:2, c:4}
----
set xs to {}
repeat with i from 1 to 3
	set xs to xs & i * i
end repeat
xs
-- expect: {1, 4, 9}
----
set s to ""
repeat 3 times
	set s to s & "ab"
end repeat
s
-- expect: "ababab"
----
"one" & space & "two" & tab = "one two	"  -- expect: true
----
-- What & makes is new.
set a to {1}
set b to a & {}
set end of b to 2
a
-- expect: {1}
----
-- A record among lists becomes a list: its labels are lost.
{{1, 2} & {a:3}, {a:1} & {2}, 1 & {a:2}, "t" & {a:1}}  -- expect: {{1, 2, 3}, {1, 2}, {1, 2}, {"t", 1}}
----
set found to {}
repeat with n from 1 to 2
	set found to found & {name:"n" & n}
end repeat
found
-- expect: {"n1", "n2"}
