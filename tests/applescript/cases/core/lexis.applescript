-- Names ignore case.
set Total to 3
tOTAL + TOTAL
-- expect: 6
----
SET x TO 3
IF x IS 3 THEN RETURN "shouted"
-- expect: "shouted"
----
set |a name with spaces| to 1
set |a name with spaces| to |a name with spaces| + 1
|a name with spaces|
-- expect: 2
----
-- Pipes do not make another name of a plain one.
set plain_name to 5
|plain_name|
-- expect: 5
----
set |if| to "a reserved word"
|if|
-- expect: "a reserved word"
----
set |it's a "name"| to 7
|it's a "name"| * 2
-- expect: 14
----
1 -- a comment
-- expect: 1
----
2 # a comment
-- expect: 2
----
#!/usr/bin/osascript
3
-- expect: 3
----
(* one (* inside *) another *) 4
-- expect: 4
----
5 + (* in the middle *) 6
-- expect: 11
----
(* over
several -- lines
*) "after"
-- expect: "after"
----
-- A comment mark inside a text is text.
"-- (* # *)"
-- expect: "-- (* # *)"
----
-- Minus and a name need no space; two minus signs begin a comment.
set x to 5
3 -x
-- expect: -2
----
set x to 5--1
x
-- expect: 5
----
set x to 1 + ¬
	2 + ¬
	3
-- expect: 6
----
set long_list to {1, ¬
  2, ¬
  3}
-- expect: {1, 2, 3}
----
-- Inside a text the sign is a character.
length of "a¬b"
-- expect: 3
----
"tab\there" = "tab" & tab & "here"  -- expect: true
{"a\nb" = "a" & linefeed & "b", "a\rb" = "a" & return & "b"}  -- expect: {true, true}
{"\"", "\\"}  -- expect: {"\"", "\\"}
length of "say \"x\" \\ y"  -- expect: 11
----
-- A text may go over lines.
set s to "one
two"
count of paragraphs of s
-- expect: 2
----
{length of return, length of linefeed, length of tab, length of space, length of quote}  -- expect: {1, 1, 1, 1, 1}
{id of return, id of linefeed, id of tab, id of space, id of quote}  -- expect: {13, 10, 9, 32, 34}
pi  -- expect: 3.14159265359
{true, false, missing value}  -- expect: {true, false, missing value}
{TRUE, False, Missing Value}  -- expect: {true, false, missing value}
----
2 + 3
result * 10
-- expect: 50
----
set _under_score_9 to "ok"
_under_score_9
-- expect: "ok"
----
set a to 1
set a to a+1
a
-- expect: 2
----
{1,2,3}  -- expect: {1, 2, 3}
{ 1 , 2 , { } }  -- expect: {1, 2, {}}
"tabs	and unicode ☃ é"'s length  -- expect: 20
the (5)  -- expect: 5
----
set the x to the 5
the x
-- expect: 5
----
-- The constants are properties of the language as well.
{AppleScript's pi = pi, tab of AppleScript = tab, AppleScript's linefeed = linefeed, quote of AppleScript}
-- expect: {true, true, true, "\""}
