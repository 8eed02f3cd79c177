-- Dates. Nothing here depends on how a machine is set up to write them: dates are made from their parts and
-- printed by our own handlers.

property monthNames : {"January", "February", "March", "April", "May", "June", "July", "August", "September", "October", "November", "December"}

on makeDate(y, m, d)
	set theDate to current date
	set theDate's day to 1 -- first, or 31 would spill over in a short month
	set theDate's year to y
	set theDate's month to m
	set theDate's day to d
	set theDate's time to 0
	return theDate
end makeDate

on makeDateAndTime(y, m, d, h, min, s)
	return makeDate(y, m, d) + h * hours + min * minutes + s
end makeDateAndTime

on twoDigits(n)
	return text -2 thru -1 of ("0" & (n as integer))
end twoDigits

on isoDate(d)
	return (year of d as text) & "-" & twoDigits(month of d as integer) & "-" & twoDigits(day of d)
end isoDate

on isoTime(d)
	set s to time of d
	return twoDigits(s div hours) & ":" & twoDigits(s mod hours div minutes) & ":" & twoDigits(s mod minutes)
end isoTime

on isoDateAndTime(d)
	isoDate(d) & "T" & isoTime(d)
end isoDateAndTime

on dateFromISO(isoText)
	set {dateText, timeText} to {isoText, ""}
	if isoText contains "T" then set {dateText, timeText} to splitText(isoText, "T")
	set dateParts to splitText(dateText, "-")
	if (count dateParts) ≠ 3 then error "Not a date: " & isoText number 4001
	set {y, m, d} to dateParts
	set theDate to makeDate(y as integer, m as integer, d as integer)
	if timeText is not "" then
		set timeParts to splitText(timeText, ":")
		set time of theDate to (item 1 of timeParts) * hours + (item 2 of timeParts) * minutes
		if (count timeParts) = 3 then set theDate to theDate + (item 3 of timeParts as integer)
	end if
	return theDate
end dateFromISO

on isLeapYear(y)
	return (y mod 4 = 0 and y mod 100 ≠ 0) or y mod 400 = 0
end isLeapYear

on daysInMonth(y, m)
	if m = 2 and isLeapYear(y) then return 29
	return item m of {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31}
end daysInMonth

-- The same by the calendar's own arithmetic: day 32 is in the next month, whatever the month.
on daysInMonthOf(aDate)
	copy aDate to d
	set day of d to 32
	return 32 - (day of d)
end daysInMonthOf

on addMonths:n toDate:aDate
	copy aDate to d
	set monthIndex to (year of d) * 12 + (month of d as integer) - 1 + n
	set y to monthIndex div 12
	set m to monthIndex mod 12 + 1
	set wantedDay to day of d
	set lastDay to my daysInMonth(y, m)
	if wantedDay > lastDay then set wantedDay to lastDay
	set day of d to 1
	set year of d to y
	set month of d to m
	set day of d to wantedDay
	return d
end addMonths:toDate:

on daysBetween(d1, d2)
	return (startOfDay(d2) - startOfDay(d1)) div days
end daysBetween

on startOfDay(d)
	return d - (time of d)
end startOfDay

on startOfMonth(d)
	return startOfDay(d) - (day of d) * days + days
end startOfMonth

-- Weeks start on Monday: 1 is Monday, 7 is Sunday.
on isoWeekday(d)
	return ((weekday of d as integer) + 5) mod 7 + 1
end isoWeekday

on dayOfYear(d)
	return 1 + daysBetween(makeDate(year of d, 1, 1), d)
end dayOfYear

-- A week belongs to the year that has its Thursday.
on isoWeek(d)
	set thursday_ to startOfDay(d) + (4 - isoWeekday(d)) * days
	return {year of thursday_, (dayOfYear(thursday_) - 1) div 7 + 1}
end isoWeek

on easterSunday(y)
	set a to y mod 19
	set b to y div 100
	set c to y mod 100
	set d to b div 4
	set e to b mod 4
	set f to (b + 8) div 25
	set g to (b - f + 1) div 3
	set h to (19 * a + b - d - g + 15) mod 30
	set i to c div 4
	set k to c mod 4
	set l to (32 + 2 * e + 2 * i - h - k) mod 7
	set m to (a + 11 * h + 22 * l) div 451
	set n to h + l - 7 * m + 114
	return makeDate(y, n div 31, n mod 31 + 1)
end easterSunday

on nthWeekday(n, wantedWeekday, y, m)
	set d to makeDate(y, m, 1)
	repeat until weekday of d is wantedWeekday
		set d to d + 1 * days
	end repeat
	return d + (n - 1) * weeks
end nthWeekday

on ageOn(birthday, aDate)
	set age to (year of aDate) - (year of birthday)
	set {m1, m2} to {month of birthday as integer, month of aDate as integer}
	if m2 < m1 or (m2 = m1 and day of aDate < day of birthday) then set age to age - 1
	return age
end ageOn

on durationText(seconds_)
	set pieces to {}
	repeat with aUnit in {{weeks, "week"}, {days, "day"}, {hours, "hour"}, {minutes, "minute"}, {1, "second"}}
		set {unitLength, unitName} to contents of aUnit
		set n to seconds_ div unitLength
		if n > 0 then
			set piece to (n as text) & space & unitName
			if n > 1 then set piece to piece & "s"
			set end of pieces to piece
			set seconds_ to seconds_ mod unitLength
		end if
	end repeat
	if pieces is {} then return "no time"
	return joinTexts(pieces, ", ")
end durationText

-- "Tue, 5 Mar 2024 09:05:00 +0100" as it stands in the header of a letter; the time is given in UTC.
on dateFromHeader(headerText)
	set t to trimWhite(headerText)
	if t contains "," then set t to trimWhite(textAfter(t, ","))
	set fields_ to splitText(squeezeSpaces(t), space)
	if (count fields_) < 5 then error "Not a date header: " & headerText number 4002
	set m to 0
	repeat with i from 1 to 12
		if item i of monthNames starts with item 2 of fields_ then set m to i
	end repeat
	if m is 0 then error "Not a month: " & item 2 of fields_ number 4002
	set {h, min, s} to splitText(item 4 of fields_, ":") & {}
	set theDate to makeDateAndTime((item 3 of fields_) as integer, m, (item 1 of fields_) as integer, h as integer, min as integer, s as integer)
	set zone_ to item 5 of fields_
	set {zoneHours, zoneMinutes} to {text 2 thru 3 of zone_, text 4 thru 5 of zone_}
	set zoneSeconds to zoneHours * hours + zoneMinutes * minutes
	if zone_ starts with "-" then
		return theDate + zoneSeconds
	else
		return theDate - zoneSeconds
	end if
end dateFromHeader

on monthCalendar(y, m)
	set firstDay to makeDate(y, m, 1)
	set cells to {}
	repeat (isoWeekday(firstDay) - 1) times
		set end of cells to "  "
	end repeat
	repeat with d from 1 to daysInMonth(y, m)
		set end of cells to text -2 thru -1 of (" " & d)
	end repeat
	set linesOfText to {"Mo Tu We Th Fr Sa Su"}
	repeat with week in chunksOf(7, cells)
		set end of linesOfText to joinTexts(contents of week, space)
	end repeat
	return linesOfText
end monthCalendar

script DateSuite
	property title : "dates"

	on runTests(t)
		set d to makeDate(2024, 2, 29)
		t's same(2024, year of d, "year")
		t's same(February, month of d, "month")
		t's same(29, day of d, "day")
		t's same(Thursday, weekday of d, "weekday")
		t's same(0, time of d, "midnight")
		t's same("2024-02-29", isoDate(d), "ISO date")
		t's same(date, class of d, "class")
		set later to d + 1 * days + 2 * hours + 3 * minutes + 4
		t's same("2024-03-01T02:03:04", isoDateAndTime(later), "arithmetic over the end of a month")
		t's same({2, 3, 4}, {hours of later, minutes of later, seconds of later}, "hours, minutes, seconds")
		t's same(93784, later - d, "difference in seconds")
		t's truth(later > d, "later is greater")
		t's truth(d < later, "earlier is less")
		t's truth(d comes before later, "comes before")
		t's same(d, makeDate(2024, 2, 29), "equal dates")
		set shared_ to d
		copy d to apart_
		set day of d to 28
		t's same(28, day of shared_, "set shares a date")
		t's same(29, day of apart_, "copy does not")

		set hours of later to 23
		set minutes of later to 59
		set seconds of later to 58
		t's same("23:59:58", isoTime(later), "parts can be set")
		set later to later + 2
		t's same("2024-03-02T00:00:00", isoDateAndTime(later), "over midnight")

		repeat with isoText in {"1999-12-31", "2000-01-01", "2024-02-29", "2038-01-19"}
			t's same(contents of isoText, isoDate(dateFromISO(isoText)), "ISO date, there and back")
		end repeat
		t's same("2024-05-06T07:08:09", isoDateAndTime(dateFromISO("2024-05-06T07:08:09")), "ISO date and time")
		t's same("2024-05-06T07:08:00", isoDateAndTime(dateFromISO("2024-05-06T07:08")), "ISO time without seconds")
		script notADate
			dateFromISO("yesterday")
		end script
		t's raises(4001, notADate, "not a date")

		t's same({true, false, true, false}, {isLeapYear(2024), isLeapYear(2023), isLeapYear(2000), isLeapYear(1900)}, "leap years")
		repeat with m from 1 to 12
			t's same(daysInMonth(2023, m), daysInMonthOf(makeDate(2023, m, 1)), "days in a month, two ways")
		end repeat
		t's same(29, daysInMonthOf(makeDate(2024, 2, 29)), "a leap day")

		t's same("2024-02-29", isoDate(my addMonths:1 toDate:(makeDate(2024, 1, 31))), "a month later, clipped")
		t's same("2023-12-31", isoDate(my addMonths:(-1) toDate:(makeDate(2024, 1, 31))), "a month earlier")
		t's same("2026-02-15", isoDate(my addMonths:25 toDate:(makeDate(2024, 1, 15))), "25 months later")

		t's same(366, daysBetween(makeDate(2024, 1, 1), makeDate(2025, 1, 1)), "a leap year's days")
		t's same(-1, daysBetween(makeDate(2024, 1, 2), makeDate(2024, 1, 1)), "backwards")
		t's same(0, daysBetween(makeDateAndTime(2024, 1, 1, 1, 0, 0), makeDateAndTime(2024, 1, 1, 23, 0, 0)), "within a day")
		t's same("2024-03-01T00:00:00", isoDateAndTime(startOfMonth(makeDateAndTime(2024, 3, 15, 12, 0, 0))), "start of the month")
		t's same({7, 1}, {isoWeekday(makeDate(2024, 3, 3)), isoWeekday(makeDate(2024, 3, 4))}, "weekdays")
		t's same(60, dayOfYear(makeDate(2024, 2, 29)), "day of the year")
		t's same({2024, 9}, isoWeek(makeDate(2024, 2, 29)), "week")
		t's same({2020, 53}, isoWeek(makeDate(2021, 1, 3)), "week of the year before")
		t's same({2025, 1}, isoWeek(makeDate(2024, 12, 30)), "week of the year after")

		repeat with aPair in {{2000, "2000-04-23"}, {2019, "2019-04-21"}, {2024, "2024-03-31"}, {2025, "2025-04-20"}}
			t's same(item 2 of aPair, isoDate(easterSunday(item 1 of aPair)), "Easter")
		end repeat
		t's same("2024-11-28", isoDate(nthWeekday(4, Thursday, 2024, 11)), "the fourth Thursday")

		t's same(35, ageOn(makeDate(1989, 3, 10), makeDate(2024, 3, 10)), "on the birthday")
		t's same(34, ageOn(makeDate(1989, 3, 10), makeDate(2024, 3, 9)), "on the day before")

		t's same("1 week, 1 day, 1 hour, 1 minute, 1 second", durationText(weeks + days + hours + minutes + 1), "one of each")
		t's same("2 hours, 5 seconds", durationText(2 * hours + 5), "some")
		t's same("no time", durationText(0), "none")

		t's same("2024-03-05T08:05:00", isoDateAndTime(dateFromHeader("Tue, 5 Mar 2024 09:05:00 +0100")), "a header's date")
		t's same("2024-01-01T04:30:01", isoDateAndTime(dateFromHeader("31 Dec 2023 23:00:01  -0530")), "without the weekday")
		script notAHeader
			dateFromHeader("5 Mrz 2024 09:05:00 +0100")
		end script
		t's raisesText("Not a month: Mrz", notAHeader, "no such month")

		t's same({"Mo Tu We Th Fr Sa Su", "          1  2  3  4", " 5  6  7  8  9 10 11", "12 13 14 15 16 17 18", "19 20 21 22 23 24 25", "26 27 28 29"}, monthCalendar(2024, 2), "a month's calendar")

		-- month and weekday as constants, numbers and texts
		t's same({3, "March", "Tuesday"}, {March as integer, March as text, weekday of makeDate(2024, 3, 5) as text}, "coercions")
		t's same(1, Sunday as integer, "Sunday is the first")
		set {year:y, month:m, day:dd} to makeDate(2024, 7, 4)
		t's same({2024, July, 4}, {y, m, dd}, "a pattern takes a date apart")
	end runTests
end script
