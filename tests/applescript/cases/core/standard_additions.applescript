{offset of "b" in "abc", offset of "cd" in "abcd", offset of "x" in "abc", offset of "B" in "abc"}
-- expect: {2, 3, 0, 2}
----
(offset of "=" in "key=value") + 1  -- expect: 5
{ASCII character 65, ASCII number "A", ASCII number "abc"}  -- expect: {"A", 65, 97}
{round 2.4, round 2.6, round -2.6, round 7}  -- expect: {2, 3, -3, 7}
-- To nearest means that a half goes to the even number.
{round 2.5, round 3.5, round -2.5}  -- expect: {2, 4, -2}
----
{round 2.5 rounding as taught in school, round -2.5 rounding as taught in school, round 3.5 rounding as taught in school}
-- expect: {3, -3, 4}
----
{round 2.1 rounding up, round 2.9 rounding down, round -2.1 rounding up, round -2.1 rounding down}
-- expect: {3, 2, -2, -3}
----
{round 2.9 rounding toward zero, round -2.9 rounding toward zero, round 2.5 rounding to nearest}
-- expect: {2, -2, 2}
----
round (10 / 4) rounding up  -- expect: 3
class of (round 2.5)  -- expect: integer
random number from 3 to 3  -- expect: 3
----
set ok to true
repeat 200 times
	set n to random number from 1 to 6
	if n < 1 or n > 6 or class of n is not integer then set ok to false
	set x to random number
	if x < 0 or x > 1 or class of x is not real then set ok to false
	set y to random number 10
	if y < 0 or y > 10 then set ok to false
end repeat
ok
-- expect: true
----
class of (current date)  -- expect: date
----
delay 0
"waited"
-- expect: "waited"
----
set t to current date
delay 0.01
(current date) ≥ t
-- expect: true
----
{quoted form of "abc", quoted form of "a b", quoted form of "it's"}  -- expect: {"'abc'", "'a b'", "'it'\\''s'"}
----
{run script "on run {a, b}
return a + b
end run" with parameters {1, 2}, run script "on run argv
count argv
end run" with parameters {1, 2, 3}, run script "on run argv
count argv
end run"}
-- expect: {3, 3, 0}
----
script adder
	on run {a, b}
		a - b
	end run
end script
run script adder with parameters {5, 3}
-- expect: 2
----
path to library folder from user domain  -- expect error: -4022 “path to” is not available to scripts here.
path to startup disk as string  -- expect error: -4022 “path to” is not available to scripts here.
