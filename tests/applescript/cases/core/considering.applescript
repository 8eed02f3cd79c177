{"a" = "A", "résumé" = "resume", "a b" = "ab", "a-b" = "ab", "a.b" = "ab", "a2" = "a10"}
-- expect: {true, false, false, false, false, false}
----
considering case
	{"a" = "A", "a" = "a", "abc" contains "B", "x" is in {"X"}}
end considering
-- expect: {false, true, false, false}
----
ignoring diacriticals
	{"résumé" = "resume", "É" = "e", "ñandú" contains "nan"}
end ignoring
-- expect: {true, true, true}
----
ignoring white space
	{"a b c" = "abc", "a" & tab & "b" = "ab", "a b" is "a  b"}
end ignoring
-- expect: {true, true, true}
----
ignoring punctuation
	{"a, b!" = "a b", "a;" = "'a'", "a.b" is equal to "ab"}
end ignoring
-- expect: {true, true, true}
----
ignoring hyphens
	{"anti-war" = "antiwar", "a--b" = "ab"}
end ignoring
-- expect: {true, true}
----
{"version 10" > "version 9", "1.10" > "1.9"}  -- expect: {false, false}
----
considering numeric strings
	{"version 10" > "version 9", "1.10" > "1.9", "1.2.10" > "1.2.9"}
end considering
-- expect: {true, true, true}
----
ignoring white space and punctuation
	"a, b" = "ab"
end ignoring
-- expect: true
----
ignoring case, white space, hyphens and punctuation
	"A - b." = "ab"
end ignoring
-- expect: true
----
considering case but ignoring white space, punctuation
	{"A b!" = "Ab", "A b" = "ab"}
end considering
-- expect: {true, false}
----
ignoring white space but considering case and diacriticals
	{"A b" = "Ab", "a b" = "Ab"}
end ignoring
-- expect: {true, false}
----
-- The inner block decides, and only inside.
considering case
	set a to "x" = "X"
	ignoring case
		set b to "x" = "X"
	end ignoring
	set c to "x" = "X"
end considering
{a, b, c, "x" = "X"}
-- expect: {false, true, false, true}
----
-- Also left by return and by an error.
on strictly(a, b)
	considering case
		return a = b
	end considering
end strictly
try
	considering case
		error "out"
	end considering
end try
{strictly("a", "A"), "a" = "A"}
-- expect: {false, true}
----
considering case
	{offset of "B" in "abAB", offset of "x" in "abc"}
end considering
-- expect: {4, 0}
----
considering case
	{{"a"} = {"A"}, {x:"a"} = {x:"A"}}
end
-- expect: {false, false}
----
considering application responses
	"x" = "X"
end considering
-- expect: true
----
ignoring application responses
	1 + 1
end ignoring
-- expect: 2
----
-- A search finds what equality would: composed characters, and nothing less than a whole one.
set composed to character id 233
set decomposed to "e" & character id 769
{composed contains decomposed, "x" & decomposed ends with composed, decomposed contains "e", decomposed begins with "e"}
-- expect: {true, true, false, false}
