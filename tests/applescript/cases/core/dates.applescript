set d to current date
{class of d, class of (year of d), class of (month of d), class of (weekday of d), class of (time of d)}
-- expect: {date, integer, constant, constant, integer}
----
-- All from here on make the same date: 29 February 2024, a Thursday.
on leapDay()
	set d to current date
	set day of d to 1
	set year of d to 2024
	set month of d to February
	set day of d to 29
	set time of d to 0
	return d
end leapDay
set d to leapDay()
{year of d, month of d, day of d, weekday of d, hours of d, minutes of d, seconds of d, time of d}
-- expect: {2024, February, 29, Thursday, 0, 0, 0, 0}
----
set d to current date
set {d's day, d's year, d's month, d's day, d's time} to {1, 2024, 2, 29, 0}
{month of d as integer, weekday of d as integer, month of d as text, weekday of d as text, month of d is February}
-- expect: {2, 5, "February", "Thursday", true}
----
set d to current date
set {day of d, year of d, month of d, time of d} to {1, 2024, 1, 0}
set e to d + 90 * days + 5 * hours + 6 * minutes + 7
{month of e, day of e, hours of e, minutes of e, seconds of e, time of e}
-- expect: {March, 31, 5, 6, 7, 18367}
----
{minutes, hours, days, weeks}  -- expect: {60, 3600, 86400, 604800}
----
set d to current date
copy d to e
set e to e + 2 * days
{e - d, (e - d) / days, d - e, e > d, d < e, d comes before e, d = e, e - 2 * days = d, d ≠ e, d ≤ d}
-- expect: {172800, 2.0, -172800, true, true, true, false, true, true, true}
----
-- The fields run over.
set d to current date
set {day of d, year of d, month of d, time of d} to {1, 2023, 1, 0}
set day of d to 32
{month of d, day of d}
-- expect: {February, 1}
----
set d to current date
set {day of d, year of d, month of d, time of d} to {1, 2023, 2, 0}
set day of d to 31
{month of d, day of d}
-- expect: {March, 3}
----
set d to current date
set {day of d, year of d, month of d, time of d} to {28, 2023, 2, 86399}
set d to d + 1
{year of d, month of d, day of d, time of d}
-- expect: {2023, March, 1, 0}
----
set d to current date
set {day of d, year of d, month of d, time of d} to {1, 1960, 1, 1}
set d to d - 2
{year of d, month of d, day of d, weekday of d, time of d}
-- expect: {1959, December, 31, Thursday, 86399}
----
set d to current date
set hours of d to 13
set minutes of d to 14
set seconds of d to 15
{time of d, time of d div hours, time of d mod hours div minutes}
-- expect: {47655, 13, 14}
----
-- Dates are shared like lists.
set d to current date
set day of d to 1
set e to d
copy d to f
set day of e to 2
{day of d, day of f}
-- expect: {2, 1}
----
set d to current date
set {day of d, year of d, month of d} to {1, 2024, 12}
set names to {}
repeat 3 times
	set end of names to month of d as text
	set month of d to (month of d as integer) mod 12 + 1
end repeat
names
-- expect: {"December", "January", "February"}
----
(current date) + "x"  -- expect error: -1700
class of ((current date) as text)  -- expect: text
year of 5  -- expect error: -1728 Can’t get year of 5.
((current date) - (current date)) < 2  -- expect: true
----
tell (current date) to set {its day, its year, its month, its day, its time} to {1, 2024, 5, 6, 0}
-- expect: {1, 2024, 5, 6, 0}
----
set d to current date
tell d
	set its day to 1
	set its year to 1999
	set its month to December
	set its day to 31
end tell
{year of d, d's month, day of d, d's weekday}
-- expect: {1999, December, 31, Friday}
