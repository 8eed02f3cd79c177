-- Every one of these has a place: line and column, from 1.
set x to  -- expect syntax error
1 +  -- expect syntax error
(1 + 2  -- expect syntax error
{1, 2  -- expect syntax error
{1, , 2}  -- expect syntax error
"no end  -- expect syntax error
----
(* no end
-- expect syntax error
----
|no end  -- expect syntax error
----
if true then
	1
-- expect syntax error
----
if true then
	1
end repeat
-- expect syntax error
----
repeat with in {1}
end repeat
-- expect syntax error
----
end if  -- expect syntax error
else  -- expect syntax error
----
on f(
end f
-- expect syntax error
----
on f()
	1
end g
-- expect syntax error
----
tell 5
	1
end if
-- expect syntax error
----
1 2  -- expect syntax error
"a" "b"  -- expect syntax error
set x to 1 set y to 2  -- expect syntax error
----
considering
end considering
-- expect syntax error
----
if then
end if
-- expect syntax error
----
x y z  -- expect syntax error
)  -- expect syntax error
1 + * 2  -- expect syntax error
property : 5  -- expect syntax error
----
script s
	on f()
	end f
-- expect syntax error
----
try
	1
on error
	2
end repeat
-- expect syntax error
----
on f()
	on g()
	end g
end f
-- expect syntax error
----
"unknown escape \q"  -- expect syntax error
----
set {a, -b} to {1, 2}
-- expect syntax error at 1:1
----
set {x:1 + 1} to {x:2}
-- expect syntax error at 1:1
----
set x to 1 2
-- expect syntax error at 1:12: A number can’t go after this number.
----
theBox thePlace
-- expect syntax error at 1:8: A identifier can’t go after this identifier.
----
set name_ to "a" & "b" name_
-- expect syntax error at 1:24: A identifier can’t go after this “"”.
----
return true thing
-- expect syntax error at 1:13: Expected end of line, etc. but found identifier.
