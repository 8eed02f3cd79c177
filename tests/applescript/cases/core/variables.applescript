prop p : {1, 2}
p
-- expect: {1, 2}
----
property a : 2
property b : a * 10
{a, b}
-- expect: {2, 20}
----
property p : 0
on bump()
	set p to p + 1
end bump
bump()
bump()
p
-- expect: 2
----
on f()
	global g
	set g to 6
end f
on h()
	global g
	return g + 1
end h
f()
h()
-- expect: 7
----
-- Without a word, a variable of a handler is its own.
set x to 1
on f()
	set x to 2
end f
f()
x
-- expect: 1
----
set x to 1
on f()
	return x
end f
f()
-- expect error: -2753 The variable x is not defined.
----
property x : 1
on f()
	local x
	set x to 2
	return x
end f
{f(), x}
-- expect: {2, 1}
----
local a, b
set a to 1
set b to 2
a + b
-- expect: 3
----
global a, b
set {a, b} to {3, 4}
on product_()
	return a * b
end product_
product_()
-- expect: 12
----
property x : 1
on f(x)
	set x to x + 1
	return {x, my x}
end f
f(10)
-- expect: {11, 1}
----
set x to 5
set y to x
set x to 6
{x, y}
-- expect: {6, 5}
----
copy 5 to x
copy x to y
{x, y}
-- expect: {5, 5}
----
-- A reference to a property.
property x : {1, 2, 3}
set r to a reference to x
{contents of r, item 2 of r, length of r, count of r}
-- expect: {{1, 2, 3}, 2, 3, 3}
----
property x : 1
set r to a reference to x
set contents of r to 5
x
-- expect: 5
----
property xs : {1, 2, 3}
set r to a reference to item 2 of xs
set contents of r to "two"
xs
-- expect: {1, "two", 3}
----
property xs : {1, 2, 3}
set r to a ref to xs
set end of r to 4
{xs, r as list}
-- expect: {{1, 2, 3, 4}, {1, 2, 3, 4}}
----
property x : "abc"
set r to reference to x
{length of r, r & "d", (contents of r) is "abc", class of contents of r}
-- expect: {3, "abcd", true, text}
----
-- contents of what is no reference is the thing itself.
{contents of 5, contents of "a", contents of {1}}  -- expect: {5, "a", {1}}
get 5  -- expect: 5
get item 2 of {1, 2}  -- expect: 2
----
set x to get length of "abc"
x
-- expect: 3
----
5
set x to result
{x, result}
-- expect: {5, 5}
----
set my x to 4
my x + x
-- expect: 8
----
property x : 3
tell {1, 2}
	{my x, x of me, its length}
end tell
-- expect: {3, 3, 2}
----
use AppleScript version "2.4"
use scripting additions
1 + 1
-- expect: 2
----
me is me  -- expect: true
AppleScript is AppleScript  -- expect: true
