script Greeter
	property greeting : "Hello"
	on greet(who)
		return greeting & ", " & who
	end greet
end script
{Greeter's greet("Ann"), greet("Bob") of Greeter, greeting of Greeter, Greeter's greeting}
-- expect: {"Hello, Ann", "Hello, Bob", "Hello", "Hello"}
----
script Greeter
	property greeting : "Hello"
	on greet(who)
		return greeting & ", " & who
	end greet
end script
tell Greeter
	set its greeting to "Bye"
	greet("Ann")
end tell
-- expect: "Bye, Ann"
----
on makeCounter(start_at)
	script
		property n : start_at
		on bump()
			set n to n + 1
			return n
		end bump
	end script
end makeCounter
set a to makeCounter(10)
set b to makeCounter(20)
{a's bump(), a's bump(), b's bump()}
-- expect: {11, 12, 21}
----
-- A script object sees the variables of the handler that made it.
on makeAdder(n)
	script
		on add(x)
			return x + n
		end add
	end script
end makeAdder
{makeAdder(1)'s add(5), add(5) of makeAdder(100)}
-- expect: {6, 105}
----
on outer_(a)
	script
		on inner_(b)
			script
				on innermost(c)
					return {a, b, c}
				end innermost
			end script
		end inner_
	end script
end outer_
outer_(1)'s inner_(2)'s innermost(3)
-- expect: {1, 2, 3}
----
script Runs
	"a result"
end script
run Runs
-- expect: "a result"
----
script Runs
	property n : 3
	on run
		set n to n + 1
		return n
	end run
end script
{run Runs, run Runs}
-- expect: {4, 5}
----
class of (script_maker())
on script_maker()
	script s
	end script
	return s
end script_maker
-- expect: script
----
-- Inheritance.
script Base
	property legs : 4
	on describe()
		return my kind() & " with " & my legs & " legs"
	end describe
	on kind()
		return "something"
	end kind
end script
script Bird
	property parent : Base
	property legs : 2
	on kind()
		return "a bird"
	end kind
end script
{Base's describe(), Bird's describe()}
-- expect: {"something with 4 legs", "a bird with 2 legs"}
----
script Base
	property x : 1
	on f(n)
		return "base " & n
	end f
end script
script Heir
	property parent : Base
	on f(n)
		if n > 5 then return "heir"
		continue f(n + 1)
	end f
end script
{Heir's f(9), Heir's f(1), Heir's x}
-- expect: {"heir", "base 2", 1}
----
-- A property that is inherited is shared with the parent.
script Base
	property x : 1
end script
script Heir
	property parent : Base
end script
set Heir's x to 7
{Base's x, x of Heir}
-- expect: {7, 7}
----
-- copy makes another, set does not.
script S
	property xs : {1}
end script
set t to S
copy S to u
set end of S's xs to 2
{t's xs, u's xs, t is S, u is S}
-- expect: {{1, 2}, {1}, true, false}
----
-- A handler without its own name in the object comes from the script around it.
on helper(n)
	n * 2
end helper
script S
	on f(n)
		return helper(n) + 1
	end f
end script
S's f(5)
-- expect: 11
----
property top_level : "seen"
script S
	on f()
		return top_level
	end f
	on g()
		set top_level to "changed"
	end g
end script
S's g()
{S's f(), top_level}
-- expect: {"changed", "changed"}
----
S's no_such()
script S
end script
-- expect error: -1708
----
no_such of S
script S
end script
-- expect error: -1728
----
script Outside
	property x : "outside"
	script Inside
		property x : "inside"
		on f()
			return x
		end f
	end script
	on f()
		return x
	end f
end script
{Outside's f(), Outside's Inside's f(), x of Inside of Outside}
-- expect: {"outside", "inside", "inside"}
----
script S
	property n : 1
	on me_and_my()
		set my n to 5
		return {my n, n of me, me is S}
	end me_and_my
end script
S's me_and_my()
-- expect: {5, 5, true}
----
script Sum
	on |+|(a, b)
		return a + b
	end |+|
end script
Sum's |+|(1, 2)
-- expect: 3
----
script S
	property a : 1
	property b : a + 1
	property c : {a, b}
end script
S's c
-- expect: {1, 2}
