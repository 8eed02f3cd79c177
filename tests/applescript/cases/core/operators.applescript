-- Precedence, strongest first.
1 + 2 * 3  -- expect: 7
(1 + 2) * 3  -- expect: 9
10 - 4 - 3  -- expect: 3
2 * 3 ^ 2  -- expect: 18.0
100 / 10 / 2  -- expect: 5.0
7 div 2 * 2 + 7 mod 2  -- expect: 7
-- & is weaker than +.
"sum: " & 1 + 2  -- expect: "sum: 3"
1 + 2 & 3 + 4  -- expect: {3, 7}
-- as is weaker than &.
1 & 2 as text  -- expect: "12"
"a" & 5 as text  -- expect: "a5"
-- Comparisons are weaker than as.
1 as text is "1"  -- expect: true
"1" & "2" = "12"  -- expect: true
1 + 1 = 2 and 2 + 2 = 4  -- expect: true
not 1 = 2  -- expect: true
not false and false  -- expect: false
not (false and false)  -- expect: true
true or false and false  -- expect: true
(true or false) and false  -- expect: false
1 < 2 = true  -- expect: true
----
-- The second operand is not looked at when the first decides.
set seen to {}
set a to false and (item 5 of seen)
set b to true or (item 5 of seen)
{a, b}
-- expect: {false, true}
----
-- All the ways to say it: equal.
{1 = 1, 1 is 1, 1 equals 1, 1 is equal to 1, 1 equal 1, 1 equal to 1}
-- expect: {true, true, true, true, true, true}
----
-- Unequal.
{1 ≠ 2, 1 /= 2, 1 is not 2, 1 isn't 2, 1 is not equal to 2, 1 isn't equal to 2, 1 does not equal 2, 1 doesn't equal 2, 1 is not equal 2}
-- expect: {true, true, true, true, true, true, true, true, true}
----
-- Less.
{1 < 2, 1 is less than 2, 1 less than 2, 1 comes before 2, 1 is not greater than or equal to 2, 1 isn't greater than or equal to 2, 1 is not greater than or equal 2}
-- expect: {true, true, true, true, true, true, true}
----
-- Greater.
{2 > 1, 2 is greater than 1, 2 greater than 1, 2 comes after 1, 2 is not less than or equal to 1, 2 isn't less than or equal to 1, 2 isn't less than or equal 1}
-- expect: {true, true, true, true, true, true, true}
----
-- At most.
{1 ≤ 1, 1 <= 2, 1 is less than or equal to 1, 1 less than or equal to 1, 1 is not greater than 1, 1 isn't greater than 1, 1 does not come after 1, 1 doesn't come after 2}
-- expect: {true, true, true, true, true, true, true, true}
----
-- At least.
{1 ≥ 1, 2 >= 1, 1 is greater than or equal to 1, 1 greater than or equal to 1, 1 is not less than 1, 1 isn't less than 1, 1 does not come before 1, 2 doesn't come before 1}
-- expect: {true, true, true, true, true, true, true, true}
----
{1 < 1, 1 > 1, 2 ≤ 1, 1 ≥ 2, 1 ≠ 1}  -- expect: {false, false, false, false, false}
-- Comparisons do not chain.
1 < 2 < 3  -- expect syntax error
1 = 1 = 1  -- expect syntax error
-- Nothing is made into something else to be equal.
{1 is "1", "1" = 1, true = 1, {1} = 1, "a" = {"a"}}  -- expect: {false, false, false, false, false}
----
{missing value = missing value, missing value = "", missing value is false, missing value = 0}
-- expect: {true, false, false, false}
----
{{1, {2, 3}} = {1, {2, 3}}, {1, 2} = {2, 1}, {} = {}, {1, 2} = {1, 2, 3}}  -- expect: {true, false, true, false}
{{a:1, b:2} = {b:2, a:1}, {a:1} = {a:2}, {a:1} = {b:1}}  -- expect: {true, false, false}
{"a" = "A", {"a"} = {"A"}, {x:"a"} = {x:"A"}}  -- expect: {true, true, true}
{text is text, integer = real, class of 1 = integer}  -- expect: {true, false, true}
{yes = yes, Monday = Monday, Monday = Tuesday}  -- expect: {true, true, false}
-- < makes the right operand what the left one is.
{"10" < 9, 10 > "9", 10 < "9"}  -- expect: {true, true, false}
{"abc" < "abd", "abc" < "abcd", "B" > "a", "b" > "A", "" < "a"}  -- expect: {true, true, true, true, true}
1 < "x"  -- expect error: -1700 Can’t make "x" into type number.
{true and true, true and false, false or false, not true}  -- expect: {true, false, false, false}
