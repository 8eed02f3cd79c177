if 1 = 2 then
	"a"
else if 1 = 1 then
	"b"
else if true then
	"c"
else
	"d"
end if
-- expect: "b"
----
if 1 = 2 then
	"a"
else
	"z"
end
-- expect: "z"
----
-- "then" may be left out before a line break.
set x to 3
if x > 2
	set x to 10
else if x > 1
	set x to 20
end if
x
-- expect: 10
----
set x to 1
if x = 1 then set x to 2
if x = 1 then set x to 3
x
-- expect: 2
----
if missing value then 1  -- expect error: -1700 Can’t make missing value into type boolean.
----
-- Nested, with bare ends.
set r to {}
if true then
	if false then
		set end of r to 1
	else
		if true then
			set end of r to 2
		end
	end
	set end of r to 3
end
r
-- expect: {2, 3}
----
set n to 0
repeat
	set n to n + 1
	if n = 5 then exit repeat
end repeat
n
-- expect: 5
----
set n to 0
repeat 3 times
	set n to n + 1
end repeat
repeat 2
	set n to n + 10
end repeat
repeat 0 times
	set n to n + 100
end repeat
repeat -1 times
	set n to n + 100
end repeat
n
-- expect: 23
----
set n to 0
repeat while n < 7
	set n to n + 2
end repeat
repeat until n > 20
	set n to n + 5
end repeat
n
-- expect: 23
----
set xs to {}
repeat with i from 1 to 3
	set end of xs to i
end repeat
repeat with i from 3 to 1 by -1
	set end of xs to i
end repeat
repeat with i from 1 to 10 by 4
	set end of xs to i
end repeat
repeat with i from 2 to 1
	set end of xs to "never"
end repeat
xs
-- expect: {1, 2, 3, 3, 2, 1, 1, 5, 9}
----
-- The bounds are asked for once, and changing the variable does not change the count.
set n to 3
set c to 0
repeat with i from 1 to n
	set n to 100
	set i to 50
	set c to c + 1
end repeat
c
-- expect: 3
----
repeat with i from 1 to 3
end repeat
i
-- expect: 3
----
set found to 0
repeat with i from 1 to 10
	repeat with j from 1 to 10
		if i * j = 42 then
			set found to {i, j}
			exit repeat
		end if
	end repeat
	if found is not 0 then exit repeat
end repeat
found
-- expect: {6, 7}
----
set n to 0
repeat with i from 1 to 3
	repeat
		set n to n + i
		exit
	end repeat
end repeat
n
-- expect: 6
----
-- The loop variable is a reference to the item.
set xs to {}
repeat with x in {"a", "b"}
	set end of xs to {x is "a", contents of x is "a", x as text, x & "!", class of x}
end repeat
xs
-- expect: {{false, true, "a", "a!", text}, {false, false, "b", "b!", text}}
----
set xs to {}
repeat with x in {1, 2}
	set end of xs to x
end repeat
xs
-- expect: {item 1 of {1, 2}, item 2 of {1, 2}}
----
set xs to {1, 2, 3}
repeat with x in xs
	set contents of x to x * x
end repeat
xs
-- expect: {1, 4, 9}
----
set rs to {{n:1}, {n:2}}
repeat with r in rs
	set n of r to (n of r) * 10
end repeat
rs
-- expect: {{n:10}, {n:20}}
----
set n to 0
repeat with x in {}
	set n to n + 1
end repeat
n
-- expect: 0
----
on firstOver(n, xs)
	repeat with x in xs
		if x > n then return contents of x
	end repeat
	return missing value
end firstOver
{firstOver(2, {1, 3, 5}), firstOver(9, {1})}
-- expect: {3, missing value}
----
exit repeat  -- expect error: -2755
----
return 5
6
-- expect: 5
----
set x to 1
if x = 1 then return "early"
"late"
-- expect: "early"
----
tell 5 to it + 1  -- expect: 6
tell "abc" to return its length  -- expect: 3
----
tell me to set z to 4
z
-- expect: 4
----
with timeout of 30 seconds
	set x to "in time"
end timeout
x
-- expect: "in time"
----
with timeout 1 second
	1 + 1
end
-- expect: 2
----
-- Counting past the largest integer goes on with reals, in a variable as in a loop.
set n to 536870910
set found to {}
repeat 2 times
	set n to n + 1
	set end of found to n
end repeat
repeat with i from 536870911 to 536870912
	set end of found to class of i
end repeat
found
-- expect: {536870911, 5.36870912E+8, integer, real}
----
-- The left operand is what it was before the right one changed it.
property n : 1
on raise()
	set n to n + 10
	return n
end raise
{n + raise(), n - (raise() - n)}
-- expect: {12, 11}
