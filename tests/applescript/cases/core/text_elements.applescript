{length of "abc", "abc"'s length, count "abc", count of "abc", number of characters of "abc", count characters of "abc", number of characters in ""}
-- expect: {3, 3, 3, 3, 3, 3, 0}
----
{character 2 of "abc", character -1 of "abc", first character of "abc", last character of "abc", 2nd character of "abc", middle character of "abc", front character of "abc", back character of "abc"}
-- expect: {"b", "c", "a", "c", "b", "b", "a", "c"}
----
{characters of "abc", every character of "abc", characters of ""}  -- expect: {{"a", "b", "c"}, {"a", "b", "c"}, {}}
----
{characters 2 thru 3 of "abcd", characters 2 through -1 of "abcd", characters -2 thru -1 of "abcd"}
-- expect: {{"b", "c"}, {"b", "c", "d"}, {"c", "d"}}
----
{text 2 thru 3 of "abcd", text 2 thru -2 of "abcde", text -3 thru -1 of "abcde", text 1 thru 1 of "a"}
-- expect: {"bc", "bcd", "cde", "a"}
----
{text from character 2 to character 3 of "abcd", text from word 1 to word 2 of "one two three"}
-- expect: {"bc", "one two"}
----
{words of "The quick, brown fox.", word 2 of "The quick, brown fox.", last word of "The quick, brown fox.", count words of "a b c"}
-- expect: {{"The", "quick", "brown", "fox"}, "quick", "fox", 3}
----
{words of "it's 3.5 o'clock", words of "well-known", words of ""}
-- expect: {{"it's", "3.5", "o'clock"}, {"well", "known"}, {}}
----
{words 1 thru 2 of "a b c", words 2 thru -1 of "a b c"}  -- expect: {{"a", "b"}, {"b", "c"}}
----
paragraphs of ("one" & return & "two" & linefeed & "three" & return & linefeed & "four")
-- expect: {"one", "two", "three", "four"}
----
{paragraph 2 of ("a" & linefeed & "b"), paragraph -1 of ("a" & linefeed & "b"), count paragraphs of ("a" & linefeed & linefeed & "b")}
-- expect: {"b", "b", 3}
----
paragraphs of ("a" & linefeed)  -- expect: {"a", ""}
paragraphs 2 thru 3 of ("a" & return & "b" & return & "c")  -- expect: {"b", "c"}
character 1 of word 2 of "alpha beta"  -- expect: "b"
first character of last word of paragraph 2 of ("one two" & linefeed & "three four")  -- expect: "f"
"alpha beta"'s word 2's character -1  -- expect: "a"
character 4 of "abc"  -- expect error: -1728 Can’t get character 4 of "abc".
word 3 of "one two"  -- expect error: -1728 Can’t get word 3 of "one two".
text 2 thru 9 of "abc"  -- expect error: -1728 Can’t get text 2 thru 9 of "abc".
{item 2 of "abc", items of "ab", items 1 thru 2 of "abc"}  -- expect: {"b", {"a", "b"}, {"a", "b"}}
{reverse of characters of "abc" as text, (reverse of (words of "a b c"))}  -- expect: {"cba", {"c", "b", "a"}}
----
set s to "abc"
set t to s
set t to t & "d"
{s, t}
-- expect: {"abc", "abcd"}
----
-- Texts do not change in place.
set s to "abc"
set character 1 of s to "x"
-- expect error: -10006 Can’t set character 1 of "abc" to "x".
----
set x to 0
repeat with c in "abc"
	set x to x + (id of c)
end repeat
x
-- expect: 294
----
{id of "A", id of "AB", character id 65, character id {72, 105}, string id {72, 105}}
-- expect: {65, {65, 66}, "A", "Hi", "Hi"}
----
{class of "abc", class of character 1 of "abc", class of (characters of "abc")}  -- expect: {text, text, list}
every word of "a b" & every character of "cd"  -- expect: {"a", "b", "c", "d"}
some character of "aaa"  -- expect: "a"
----
set i to 2
{character i of "abc", text i thru (i + 1) of "abcd", character (i - 1) of "abc"}
-- expect: {"b", "bc", "a"}
----
tell "one two three"
	{word 2, length, count of words, text 1 thru 3}
end tell
-- expect: {"two", 13, 3, "one"}
----
{"é" = "e", length of "naïve", character 3 of "naïve"}  -- expect: {false, 5, "ï"}
----
-- The neighbour of an element.
set t to "one two three"
{word after word 1 of t, character before character -1 of t, item before item 3 of {1, 2, 3}, integer after integer 1 of {1, "a", 2}}
-- expect: {"two", "e", 2, 2}
----
word after word 3 of "one two three"  -- expect error: -1728 Can’t get word after word 3 of "one two three".
----
set i to 2
set xs to {1, 2, 3}
{character -i of "abc", item -i of xs, item -(i + 1) of xs, items -i thru -1 of xs, i -1}
-- expect: {"b", 2, 1, {2, 3}, 1}
