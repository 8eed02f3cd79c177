{"hello" contains "ell", "hello" contains "ELL", "hello" contains "x"}  -- expect: {true, true, false}
----
{"hello" starts with "he", "hello" begins with "he", "hello" start with "el", "hello" begin with "HE"}
-- expect: {true, true, false, true}
----
{"hello" ends with "lo", "hello" end with "lo", "hello" ends with "hell"}  -- expect: {true, true, false}
{"hello" does not contain "x", "hello" doesn't contain "ell", "hello" contain "h"}  -- expect: {true, false, true}
{"ab" does not start with "a", "ab" doesn't begin with "b"}  -- expect: {false, true}
{"ab" does not end with "b", "ab" doesn't end with "a"}  -- expect: {false, true}
----
{"ell" is in "hello", "x" is not in "hello", "x" isn't in "hello", "ell" is contained by "hello", "x" is not contained by "hello", "x" isn't contained by "hello"}
-- expect: {true, true, true, true, true, true}
----
{{1, 2, 3} contains 2, {1, 2, 3} contains {2, 3}, {1, 2, 3} contains {1, 3}}  -- expect: {true, true, false}
----
{2 is in {1, 2}, {1, 2} is in {0, 1, 2, 3}, "a" is in {"A"}, 4 is not in {1, 2}}
-- expect: {true, true, true, true}
----
-- A list inside a list must be asked for as such.
{{{2}} contains {2}, {{2}} contains {{2}}, {1, {2}} contains {{2}}}  -- expect: {false, true, true}
----
{{1, 2, 3} starts with 1, {1, 2, 3} starts with {1, 2}, {1, 2, 3} ends with {2, 3}, {1, 2, 3} ends with 3, {1, 2, 3} ends with {1}}
-- expect: {true, true, true, true, false}
----
{{a:1, b:2} contains {a:1}, {a:1, b:2} contains {a:2}, {a:1, b:2} contains {b:2, a:1}}
-- expect: {true, false, true}
----
-- The right one is made what the left one is, and with "is in" the other way round.
{"route 66" contains 66, 66 is in "route 66", "1.5" contains 0.5}  -- expect: {true, true, false}
if "b" is in {"a", "b"} and 3 is not in {1, 2} then "both"  -- expect: "both"
-- Containment is weaker than &.
"a" & "b" is in "xaby"  -- expect: true
----
considering case
	{"hello" contains "ELL", {"a"} contains "A", "A" is in {"a"}, "Hello" starts with "h", "hellO" ends with "o"}
end considering
-- expect: {false, false, false, false, false}
----
set vowels to {"a", "e", "i", "o", "u"}
set n to 0
repeat with i from 1 to length of "education"
	if character i of "education" is in vowels then set n to n + 1
end repeat
n
-- expect: 5
