# The same language in other hands: no indentation, odd spacing, shouting, long lines broken anywhere, optional
# words in and out, `end` with and without its word.

      property    spaced_out:{ 1,2 ,   3 }
prop shortForm : "prop"

ON Shout ( WORD_ )
RETURN WORD_ & "!"
END Shout

to   whisper(word_)
	return "(" & word_ & ")"
end

on noParameters()
42
end noParameters

on early(n)
if n<0 then return"negative"
if n=0
return "zero"
end if
if n>0 and n<10 then
return "small"
else if n≥10 and n<100
return "middling"
else
return "large"
end
end early

on greeting for theName at theHour given polite:isPolite
if theHour < 12 then
set g to "Good morning"
else
set g to "Hello"
end if
if isPolite then set g to "Dear " & theName & ", " & g
if not isPolite then set g to g & ", " & theName
return g
end greeting

on countIn of theText against thePattern
return countOccurrences(theText, thePattern)
end countIn

on sizeOf over theWidth by theHeight
return theWidth * theHeight
end sizeOf

to shift:n byAmount:k
n + k
end shift:byAmount:

to wrap:s inside:brackets_
(item 1 of brackets_)&s&(item 2 of brackets_)
end wrap:inside:

on takeApart({first_, {second_, third_}}, rest_)
return {third_, second_, first_, rest_}
end takeApart

on personText({who:n, age:a})
return n & " (" & a & ")"
end personText

on manyLocals()
local a, b,c
set {a,b,c} to{1,2,3}
return a+b*c
end manyLocals

global sharedCount

on bump()
global sharedCount
set sharedCount to sharedCount+1
return sharedCount
end bump

on |handler with a long name|(|a parameter|)
	return |a parameter| & |a parameter|
end |handler with a long name|

on signs(a,b)
return{a+b,a-b,a*b,a/b,a div b,a mod b,a^b,-a,a=b,a≠b,a<b,a>b,a≤b,a≥b,a&b}
end signs

script MannersSuite
	property title : "manners of writing"
	script quietScript
		"ran"
	end script

	on runTests(t)
		t's same("hey!(you)", shout("hey") & Whisper("you"), "case of names")
		t's same(42, noParameters(), "the last value")
		t's same({"negative","zero","small","middling","large"},{early(-1),early(0),early(5),early(50),early(500)},"branches")
		t's same({3,-1,2,0.5,0,1,1.0,-1,false,true,true,false,true,false,{1,2}},signs(1,2),"no spaces at all")
		t's same({1, 2, 3}, spaced_out, "an oddly spaced property")
		t's same("prop", SHORTFORM, "the short word for property")

		t's same("Dear Ann, Good morning", (greeting for "Ann" at 9 given polite:true), "labels")
		t's same("Hello, Bob", (greeting at 15 for "Bob" without polite), "labels in another order, without")
		t's same("Dear Cy, Hello", (greeting for "Cy" at 12 with polite), "with")
		t's same(2, (countIn of "banana" against "an"), "a direct parameter")
		t's same(2, (countIn in "banana" against "an"), "a direct parameter, by in")
		t's same(6, (sizeOf over 2 by 3), "prepositions")
		t's same(5, my shift:2 byAmount:3, "interleaved parameters")
		t's same("[x]", my wrap:"x" inside:{"[", "]"}, "interleaved, with a list") 
		t's same({3, 2, 1, 4}, takeApart({1, {2, 3}}, 4), "a pattern of lists")
		t's same("Ann (7)", personText({age:7, who:"Ann"}), "a pattern of records")
		t's same(7, manyLocals(), "locals")
		set my_count to 0
		set_shared(5)
		t's same({6, 7}, {bump(), bump()}, "a global")
		t's same("abab", |handler with a long name|("ab"), "pipes")

		-- lines broken anywhere
		set long_list to {1, ¬
			2, ¬
			3 ¬
			}
		t's same ¬
			( ¬
				{1, 2, 3}, ¬
				long_list, ¬
				"broken lines")
		set long_text to "one " & ¬
			"two " & ¬
		"three"
		t's same("one two three", long_text, "broken text")

		-- optional words
		set the total to the sum_ of {sum_:3}
		t's same(3, the total, "the")
		t's truth(the length of "abc" is equal to the number of items in {1, 2, 3}, "many words")
		t's same({2, 3}, {the second item of {1, 2}, the 3rd item of {1, 2, 3}}, "ordinals")
		t's same("c", the last character of "abc", "last")
		t's same("b", character 2 in "abc", "in for of")
		t's same("a", "abc"'s first character, "possessive")
		t's same("bc", (text from character 2 to character 3 of "abcd"), "from to")
		t's same({"b", "c"}, characters 2 through 3 of "abcd", "through")
		t's same("twothree", words 2 thru -1 of "one two three" as text, "words without their spaces")
		t's same(true, 3 is in {1, 2, 3} and not (4 is contained by {1, 2, 3}), "containment")
		t's same(true, {1, 2, 3} begins with 1 and "abc" ends with "c" and {1, 2} does not contain 3, "more containment")
		t's same({true, true, true, true}, {1 does not equal 2, 2 comes after 1, 1 is less than or equal to 1, 3 is not less than 3}, "comparisons in words")
		t's same({true, true, true}, {2 is greater than 1, 2 equals 2, 1 isn't 2}, "more of them")

		-- all sorts of repeats
		set trace_ to {}
		repeat
			if (count trace_) = 2 then exit repeat
			set end of trace_ to "a"
		end repeat
		repeat 2 times
			copy "b" to end of trace_
		end
		repeat while length of trace_ < 5
			set trace_'s end to "c"
		end repeat
		repeat until (count of trace_) ≥ 6
			set trace_ to trace_ & {"d"}
		end repeat
		repeat with i from 1 to 2
			set end of trace_ to i
		end repeat
		repeat with i from 9 to 5 by -3
			set the end of trace_ to i
		end repeat
		repeat with x in {"e"}
			set the end of trace_ to contents of x
		end repeat
		repeat with k from 5 to 1
			set end of trace_ to "never"
		end repeat
		t's same({"a", "a", "b", "b", "c", "d", 1, 2, 9, 6, "e"}, trace_, "repeats")

		-- tries
		set caught to {}
		try
			error "one" number 1
		on error m number n
			set end of caught to {m, n}
		end try
		try
			error
		on error number n
			set end of caught to n
		end
		try
			try
				error "inner" number 2
			on error number 3
				set end of caught to "not this one"
			end try
		on error m number n partial result p from f to c
			set end of caught to {m, n}
		end error
		try
			set end of caught to "no error"
		end try
		t's same({{"one", 1}, -2700, {"inner", 2}, "no error"}, caught, "tries")

		tell {1, 2, 3}
			set all_ to it
			set long_ to its length
			set second_ to item 2 of it
		end tell
		t's same({{1, 2, 3}, 3, 2}, {all_, long_, second_}, "tell a list")
		tell "a text" to set n to count of its words
		t's same(2, n, "tell a text, in one line")

		considering case
			set a to "x" = "X"
			ignoring case
				set b to "x" = "X"
			end ignoring
			set c to "x" = "X"
		end considering
		t's same({false, true, false}, {a, b, c}, "considering inside ignoring")
		ignoring white space, hyphens and punctuation but considering case
			t's same({true, false}, {"a-b, c" = "abc", "ABC" = "abc"}, "ignoring several things")
		end ignoring

		with timeout of 1 second
			set quickly to 1 + 1
		end timeout
		t's same(2, quickly, "with timeout")
		5 + 5
		t's same(10, result, "result")
		run quietScript
		t's same("ran", result, "run a script object")
	end runTests

	on set_shared(n)
		global sharedCount
		set sharedCount to n
	end set_shared
end script
