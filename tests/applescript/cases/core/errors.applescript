error "Something."  -- expect error: -2700 Something.
error "Something." number 500  -- expect error: 500 Something.
error number 500  -- expect error: 500
error  -- expect error: -2700
error number -128  -- expect error: -128 User canceled.
----
set n to 40
error "Number " & n + 2 number n + 2
-- expect error: 42 Number 42
----
try
	error "oops" number 7 partial result {1, 2} from {3} to text
on error m number n partial result p from f to t
	{m, n, p, f, t}
end try
-- expect: {"oops", 7, {1, 2}, {3}, text}
----
-- The order of the parameters is free.
try
	error "oops" from 5 number 7
on error number n from f
	{n, f}
end try
-- expect: {7, 5}
----
try
	error "quietly"
end try
"went on"
-- expect: "went on"
----
try
	"no error"
on error
	"caught"
end try
-- expect: "no error"
----
-- A number in the pattern catches only that number.
try
	try
		error "x" number 5
	on error number 6
		"wrong"
	end try
on error m number 5
	m
end try
-- expect: "x"
----
try
	error "x" number 5
on error number 6
	"wrong"
end try
-- expect error: 5 x
----
try
	error "x" number -5
on error m number -5
	m & "!"
end
-- expect: "x!"
----
try
	error "a" number 1
on error m number n
	try
		error m & "b" number n + 1
	on error m2 number n2
		error m2 & "c" number n2 + 1
	end try
end try
-- expect error: 3 abc
----
-- The same error again.
try
	item 9 of {}
on error m number n
	error m number n
end error
-- expect error: -1728 Can’t get item 9 of {}.
----
on f()
	try
		return "from inside"
	on error
		return "error"
	end try
	return "after"
end f
f()
-- expect: "from inside"
----
set n to 0
repeat with i from 1 to 5
	try
		if i = 3 then exit repeat
		set n to n + 1
	end try
end repeat
n
-- expect: 2
----
no_such_variable  -- expect error: -2753 The variable no_such_variable is not defined.
set x to No_Such_Variable + 1  -- expect error: -2753 The variable No_Such_Variable is not defined.
no_such_handler(1)  -- expect error: -1708 «script» doesn’t understand the “no_such_handler” message.
----
on f()
end f
set x to f()
-- expect error: -2763 No result was returned from some part of this expression.
----
on f()
	return
end f
try
	set x to f()
on error number n
	n
end try
-- expect: -2763
----
on forever(n)
	return forever(n + 1) + 1
end forever
try
	forever(1)
on error m number n
	{m, n}
end try
-- expect: {"Stack overflow.", -2706}
----
try
	foo of {a:1}
on error m number n from f
	{m, n}
end try
-- expect: {"Can’t get foo of {a:1}.", -1728}
----
try
	length of 5
on error m number n
	{m, n}
end try
-- expect: {"Can’t get length of 5.", -1728}
----
-- An error's text can be anything that makes a text.
try
	error 42
on error m
	m
end try
-- expect: "42"
----
-- A number alone has the wording of its kind.
set found to {}
repeat with n in {-600, -1712, -1720, -1731, -2755, -10000, 12345}
	try
		error number n
	on error m number k
		set end of found to {m, k}
	end try
end repeat
found
-- expect: {{"Application isn’t running.", -600}, {"AppleEvent timed out.", -1712}, {"Invalid range.", -1720}, {"Unknown object type.", -1731}, {"Exit statement was not in a repeat loop.", -2755}, {"AppleEvent handler failed.", -10000}, {"An error of type 12345 has occurred.", 12345}}
