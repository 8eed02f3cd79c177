to add(a, b)
	a + b
end
add(add(1, 2), 3)
-- expect: 6
----
-- Used before it stands there.
twice(4)
on twice(n)
	n * 2
end twice
-- expect: 8
----
on isEven(n)
	if n = 0 then return true
	return isOdd(n - 1)
end isEven
on isOdd(n)
	if n = 0 then return false
	return isEven(n - 1)
end isOdd
{isEven(10), isOdd(7), isEven(3)}
-- expect: {true, true, false}
----
-- Locals belong to the call.
on depth_first(n)
	set mine to n
	if n > 0 then depth_first(n - 1)
	return mine
end depth_first
depth_first(5)
-- expect: 5
----
-- The value of the last statement is the result.
on f(n)
	if n > 0 then
		"positive"
	else
		"not positive"
	end if
end f
{f(1), f(-1)}
-- expect: {"positive", "not positive"}
----
on f()
	set x to 5
end f
f()
-- expect: 5
----
on f()
	return {1, 2}
end f
set {a, b} to f()
{b, a, item 1 of f(), length of f()}
-- expect: {2, 1, 1, 2}
----
-- A list that is passed is shared, a number is not.
on change(xs, n)
	set end of xs to n
	set n to 0
end change
set xs to {}
set n to 5
change(xs, n)
{xs, n}
-- expect: {{5}, 5}
----
-- Patterns.
on deep({a, {b, c}}, d)
	return a & b & c & d
end deep
deep({"1", {"2", "3"}}, "4")
-- expect: "1234"
----
on full({first_name:f, last_name:l})
	return f & " " & l
end full
full({last_name:"Lee", first_name:"Ann"})
-- expect: "Ann Lee"
----
-- Labels.
on search of haystack for needle given strictness:strict
	return {haystack, needle, strict}
end search
search of "h" for "n" given strictness:3
-- expect: {"h", "n", 3}
----
on search of haystack for needle given strictness:strict
	return {haystack, needle, strict}
end search
{(search of "h" for "n" with strictness), (search of "h" for "n" without strictness)}
-- expect: {{"h", "n", true}, {"h", "n", false}}
----
on areaOf over w by h
	return w * h
end areaOf
areaOf over 3 by 4
-- expect: 12
----
on collect from a thru b above c below d
	return {a, b, c, d}
end collect
collect above 3 from 1 below 4 thru 2
-- expect: {1, 2, 3, 4}
----
to describe of x given width:w, height:h
	(w as text) & "x" & h & " " & x
end describe
describe of "box" given height:2, width:1
-- expect: "1x2 box"
----
to describe in x given loud:isLoud, polite:isPolite
	{x, isLoud, isPolite}
end describe
describe in "a" with loud without polite
-- expect: {"a", true, false}
----
to describe of x given loud:isLoud, polite:isPolite
	{x, isLoud, isPolite}
end describe
describe of "a" with loud and polite
-- expect: {"a", true, true}
----
-- Interleaved.
on addItem:x toList:xs
	xs & x
end addItem:toList:
my addItem:3 toList:{1, 2}
-- expect: {1, 2, 3}
----
on join:a using:b andThen:c
	a & b & c
end join:using:andThen:
set x to (my join:"1" using:("2" & "2") andThen:"3")
x
-- expect: "1223"
----
-- In a tell one must say whose handler it is.
on half(n)
	n / 2
end half
tell "some text"
	{my half(3), half(5) of me}
end tell
-- expect: {1.5, 2.5}
----
on half(n)
	n / 2
end half
tell "some text"
	half(3)
end tell
-- expect error: -1708
----
-- A handler is a value.
on shout(s)
	s & "!"
end shout
set h to shout
h("hey")
-- expect: "hey!"
----
on shout(s)
	s & "!"
end shout
class of shout
-- expect: handler
----
on callWith(f, x)
	script caller
		property g : f
	end script
	return caller's g(x)
end callWith
on plusOne(n)
	n + 1
end plusOne
callWith(plusOne, 4)
-- expect: 5
----
on |a name in pipes|(n)
	n * 3
end |a name in pipes|
|a name in pipes|(2)
-- expect: 6
----
on Mixed_Case(Arg)
	return ARG
end MIXED_CASE
mixed_case("x")
-- expect: "x"
----
on run
	helper(2)
end run
on helper(n)
	n * 100
end helper
-- expect: 200
----
-- No result is no error when nobody asks for it.
on quiet()
end quiet
quiet()
"after"
-- expect: "after"
----
on f(xs)
	set item 1 of xs to "changed"
end f
set xs to {1}
copy xs to ys
f(ys)
{xs, ys}
-- expect: {{1}, {"changed"}}
----
-- A handler named by a command has no parentheses, neither where it stands nor where it is called.
script counters
	property made : 0
	to make
		set made to made + 1
		script
			property n : 0
			on inc()
				set n to n + 1
			end inc
		end script
	end make
end script
tell counters to set a to make
a's inc()
set b to counters's make
{a's inc(), b's inc(), counters's made}
-- expect: {2, 1, 2}
----
-- Arguments that nobody takes are ignored, so that a fold can hand out the index too.
on mReturn(f)
	if script is class of f then
		f
	else
		script
			property |λ| : f
		end script
	end if
end mReturn
on foldl(f, startValue, xs)
	tell mReturn(f)
		set v to startValue
		set lng to length of xs
		repeat with i from 1 to lng
			set v to |λ|(v, item i of xs, i, xs)
		end repeat
		return v
	end tell
end foldl
on plus(a, b)
	a + b
end plus
script multiply
	on |λ|(a, b)
		a * b
	end |λ|
end script
{foldl(plus, 0, {1, 2, 3}), foldl(multiply, 1, {2, 3, 4})}
-- expect: {6, 24}
