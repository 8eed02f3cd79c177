set AppleScript's text item delimiters to ","
text items of "a,b,,c"
-- expect: {"a", "b", "", "c"}
----
set AppleScript's text item delimiters to {", "}
{"a", "b", "c"} as text
-- expect: "a, b, c"
----
set text item delimiters to "-"
{1, 2.5, true} as text
-- expect: "1-2.5-true"
----
-- All split, the first joins.
set AppleScript's text item delimiters to {";", ","}
set parts to text items of "a,b;c"
{parts, parts as text}
-- expect: {{"a", "b", "c"}, "a;b;c"}
----
set AppleScript's text item delimiters to " and "
{text item 2 of "x and y and z", last text item of "x and y", count text items of "x and y and z", text items 2 thru -1 of "x and y and z", text 1 thru text item 2 of "x and y and z"}
-- expect: {"y", "y", 3, {"y", "z"}, "x and y"}
----
-- Case is ignored unless it is considered.
set AppleScript's text item delimiters to "x"
set loose to text items of "1x2X3"
considering case
	set strict to text items of "1x2X3"
end considering
{loose, strict}
-- expect: {{"1", "2", "3"}, {"1", "2X3"}}
----
set saved to AppleScript's text item delimiters
set AppleScript's text item delimiters to "/"
set inside to text items of "a/b"
set AppleScript's text item delimiters to saved
{inside, {"a", "b"} as text}
-- expect: {{"a", "b"}, "ab"}
----
{AppleScript's text item delimiters, {1, 2, 3} as text}  -- expect: {{""}, "123"}
----
set AppleScript's text item delimiters to {}
{"a", "b"} as text
-- expect: "ab"
----
-- They stay for the whole run, also through handlers.
on join(xs, d)
	set AppleScript's text item delimiters to d
	return xs as text
end join
set a to join({1, 2}, "+")
a & space & ({3, 4} as text)
-- expect: "1+2 3+4"
----
-- A list that is made a text on the right of & is joined by them, too.
set AppleScript's text item delimiters to ", "
"list: " & {1, 2, 3}
-- expect: "list: 1, 2, 3"
----
set AppleScript's text item delimiters to ","
set AppleScript's text item delimiters to {";"} & AppleScript's text item delimiters
text items of "a;b,c"
-- expect: {"a", "b", "c"}
----
set AppleScript's text item delimiters to ","
{{1, {2, 3}}, 4} as text
-- expect: "1,2,3,4"
----
set AppleScript's text item delimiters to linefeed
set t to {"a", "b"} as text
count paragraphs of t
-- expect: 2
----
-- A delimiter at the end leaves an empty part.
set AppleScript's text item delimiters to "ab"
text items of "xabyab"
-- expect: {"x", "y", ""}
----
tell AppleScript
	set text item delimiters to ":"
	set parts to text items of "a:b"
	set text item delimiters to ""
end tell
parts
-- expect: {"a", "b"}
----
-- Through a reference to them.
set delimiters to a reference to my text item delimiters
set old to contents of delimiters
set contents of delimiters to "-"
set found to {old, {1, 2} as text}
set r to a reference to text item delimiters of AppleScript
set contents of r to old
set end of found to {1, 2} as text
found
-- expect: {{""}, "1-2", "12"}
