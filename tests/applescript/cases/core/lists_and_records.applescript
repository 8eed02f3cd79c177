{item 1 of {10, 20, 30}, item -1 of {10, 20, 30}, first item of {10, 20}, second item of {10, 20}, last item of {10, 20}, 3rd item of {1, 2, 3}, middle item of {1, 2, 3}, front item of {1, 2}, back item of {1, 2}, some item of {7}}
-- expect: {10, 30, 10, 20, 20, 3, 2, 1, 2, 7}
----
{1st item of {1}, 2nd item of {1, 2}, third item of {1, 2, 3}, tenth item of {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 11th item of {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}}
-- expect: {1, 2, 3, 10, 11}
----
{items 2 thru 3 of {1, 2, 3, 4}, items 2 through -1 of {1, 2, 3}, items -2 thru -1 of {1, 2, 3}, items of {1, 2}, every item of {1, 2}}
-- expect: {{2, 3}, {2, 3}, {2, 3}, {1, 2}, {1, 2}}
----
{rest of {1, 2, 3}, rest of {1}, reverse of {1, 2, 3}, length of {1, 2}, count {1, 2}, count of {}, number of items of {1, 2, 3}, number of items in {4}}
-- expect: {{2, 3}, {}, {3, 2, 1}, 2, 2, 0, 3, 1}
----
set xs to {1, "a", 2.5, "b", {3}, true}
{every integer of xs, every text of xs, reals of xs, lists of xs, booleans of xs, first text of xs, count integers of xs, numbers of xs}
-- expect: {{1}, {"a", "b"}, {2.5}, {{3}}, {true}, "a", 1, {1, 2.5}}
----
set xs to {1, 2, 3}
set item 2 of xs to "two"
set end of xs to 4
set beginning of xs to 0
set last item of xs to "four"
xs
-- expect: {0, 1, "two", 3, "four"}
----
set xs to {}
copy 1 to end of xs
copy {2} to the end of xs
copy 0 to beginning of xs
xs
-- expect: {0, 1, {2}}
----
set xs to {{1, 2}, {3, 4}}
set item 1 of item 2 of xs to "x"
set end of item 1 of xs to "y"
xs
-- expect: {{1, 2, "y"}, {"x", 4}}
----
-- set shares, copy does not.
set a to {1, {2}}
set b to a
copy a to c
set end of b to 3
set end of item 2 of a to "deep"
{a, b, c}
-- expect: {{1, {2, "deep"}, 3}, {1, {2, "deep"}, 3}, {1, {2}}}
----
set a to {1, 2}
set b to {a, a}
set item 1 of a to 9
b
-- expect: {{9, 2}, {9, 2}}
----
item 3 of {1, 2}  -- expect error: -1728 Can’t get item 3 of {1, 2}.
items 2 thru 5 of {1, 2, 3}  -- expect error: -1728 Can’t get items 2 thru 5 of {1, 2, 3}.
first item of {}  -- expect error: -1728 Can’t get item 1 of {}.
set item 3 of {1, 2} to 0  -- expect error: -10006 Can’t set item 3 of {1, 2} to 0.
----
set {a, b, c} to {1, 2, 3}
{c, b, a}
-- expect: {3, 2, 1}
----
set {a, b} to {1, 2}
set {a, b} to {b, a}
{a, b}
-- expect: {2, 1}
----
set {a, {b, c}} to {1, {2, 3}}
a + b + c
-- expect: 6
----
set {name:n, age:a} to {age:30, name:"Ann"}
{n, a}
-- expect: {"Ann", 30}
----
copy {1, 2} to {a, b}
a + b
-- expect: 3
----
set xs to {1, 2, 3}
set {item 1 of xs, item 3 of xs} to {item 3 of xs, item 1 of xs}
xs
-- expect: {3, 2, 1}
----
set r to {a:1, b:"two", c:{3}}
{a of r, r's b, c of r, r's c's item 1}
-- expect: {1, "two", {3}, 3}
----
set r to {a:1}
set a of r to 2
set r's a to (r's a) * 10
r
-- expect: {a:20}
----
{length of {a:1, b:2}, count {a:1, b:2}, count of {}}  -- expect: {2, 2, 0}
b of {a:1}  -- expect error: -1728 Can’t get b of {a:1}.
set b of {a:1} to 2  -- expect error: -10006 Can’t set b of {a:1} to 2.
----
-- set shares a record, too.
set r to {a:1}
set s to r
copy r to t
set a of s to 5
{a of r, a of t}
-- expect: {5, 1}
----
set r to {who:{first_name:"Ann", last_name:"Lee"}, tags:{"x"}}
set end of r's tags to "y"
set first_name of who of r to "Bea"
r
-- expect: {who:{first_name:"Bea", last_name:"Lee"}, tags:{"x", "y"}}
----
-- A name in pipes as a label.
set r to {|two words|:1, plain:2}
(|two words| of r) + (r's plain)
-- expect: 3
----
{a:1, b:2} as list  -- expect: {1, 2}
----
set x to 5
set r to {x:x, y:x + 1}
r's y
-- expect: 6
----
{class of {}, class of {a:1}, class of {1}}  -- expect: {list, record, list}
{{}, {{}}, {{}, {}}}  -- expect: {{}, {{}}, {{}, {}}}
----
set xs to {3, 1, 2}
set sum to 0
repeat with i from 1 to count xs
	set sum to sum + (item i of xs)
end repeat
sum
-- expect: 6
----
contents of item 2 of {1, {2}}  -- expect: {2}
----
tell {10, 20, 30}
	{item 2, length, first item, reverse}
end tell
-- expect: {20, 3, 10, {30, 20, 10}}
----
set r to {a:1, b:{c:2}}
tell r to {its a, c of its b}
-- expect: {1, 2}
----
-- A list that is taken apart into itself is read before it is written.
set x to {1, 2, 3}
set {item 2 of x, item 3 of x, item 1 of x} to x
x
-- expect: {3, 1, 2}
----
-- Items that lists share are the same objects, those that are numbers are not.
set x to {{1}, 2}
set y to item 1 of x
set n to item 2 of x
set end of item 1 of x to 5
set n to n + 1
set item 2 of x to item 2 of x + 10
{x, y, n}
-- expect: {{{1, 5}, 12}, {1, 5}, 3}
