#  Handlers for texts.
#
#  All of these put the text item delimiters back as they found them.

to splitText(theText, theDelimiter)
    if theText is "" then return {""}
    set savedDelimiters to AppleScript's text item delimiters
    set AppleScript's text item delimiters to theDelimiter
    set theParts to every text item of theText
    set AppleScript's text item delimiters to savedDelimiters
    return theParts
end splitText

to joinTexts(theParts, theDelimiter)
    set savedDelimiters to AppleScript's text item delimiters
    set AppleScript's text item delimiters to theDelimiter
    set theResult to theParts as text
    set AppleScript's text item delimiters to savedDelimiters
    return theResult
end joinTexts

to replaceText(theText, searchFor, replaceWith)
    return joinTexts(splitText(theText, searchFor), replaceWith)
end replaceText

-- The pairs are a list of two-item lists: {{"&", "&amp;"}, {"<", "&lt;"}}.
to replaceAllOf(theText, thePairs)
    repeat with thePair in thePairs
        set {searchFor, replaceWith} to contents of thePair
        set theText to replaceText(theText, searchFor, replaceWith)
    end repeat
    return theText
end replaceAllOf

to trimText(theText, theCharacters)
    return trimStart(trimEnd(theText, theCharacters), theCharacters)
end trimText

to trimStart(theText, theCharacters)
    repeat while theText is not "" and character 1 of theText is in theCharacters
        if length of theText is 1 then return ""
        set theText to text 2 thru -1 of theText
    end repeat
    return theText
end trimStart

to trimEnd(theText, theCharacters)
    repeat while theText is not "" and the last character of theText is in theCharacters
        if (count of characters of theText) = 1 then return ""
        set theText to text 1 thru -2 of theText
    end repeat
    theText
end trimEnd

to trimWhite(theText)
    return trimText(theText, {space, tab, return, linefeed})
end trimWhite

(* Upper and lower case, for ASCII letters only:
   everything else stays as it is. *)
to shiftCase(theText, firstCode, lastCode, distance)
    if theText is "" then return ""
    set theCodes to id of theText
    if class of theCodes is integer then set theCodes to {theCodes}
    repeat with aCode in theCodes
        if (aCode ≥ firstCode) and (aCode ≤ lastCode) then set contents of aCode to aCode + distance
    end repeat
    return character id theCodes
end shiftCase

to upperCased(theText)
    return shiftCase(theText, 97, 122, -32)
end upperCased

to lowerCased(theText)
    return shiftCase(theText, 65, 90, 32)
end lowerCased

to capitalized(theText)
    if theText is "" then return ""
    if (length of theText) is 1 then return upperCased(theText)
    return upperCased(the first character of theText) & lowerCased(text 2 thru -1 of theText)
end capitalized

to titleCased(theText)
    set theWords to splitText(theText, space)
    repeat with aWord in theWords
        set contents of aWord to capitalized(contents of aWord)
    end repeat
    return joinTexts(theWords, space)
end titleCased

to camelCased(theText)
    set theWords to the words of theText
    set theResult to lowerCased(the first item of theWords)
    repeat with i from 2 to the count of theWords
        set theResult to theResult & capitalized(item i of theWords)
    end repeat
    return theResult
end camelCased

to repeatedText(theText, n)
    set theResult to ""
    repeat n times
        set theResult to theResult & theText
    end repeat
    return theResult
end repeatedText

-- By doubling, which takes fewer steps.
to repeatedTextFast(theText, n)
    set theResult to ""
    repeat while n > 0
        if n mod 2 = 1 then set theResult to theResult & theText
        set n to n div 2
        if n > 0 then set theText to theText & theText
    end repeat
    return theResult
end repeatedTextFast

to padLeft of theValue given width:theSize, filler:theFiller
    set theText to theValue as text
    repeat while (length of theText) < theSize
        set theText to theFiller & theText
    end repeat
    return theText
end padLeft

to padRight of theValue given width:theSize, filler:theFiller
    set theText to theValue as text
    repeat while (length of theText) < theSize
        set theText to theText & theFiller
    end repeat
    return theText
end padRight

to centerText(theText, theSize)
    set theGap to theSize - (length of theText)
    if theGap ≤ 0 then return theText
    set leftGap to theGap div 2
    return repeatedText(space, leftGap) & theText & repeatedText(space, theGap - leftGap)
end centerText

to reverseText(theText)
    return joinTexts(reverse of characters of theText, "")
end reverseText

to isPalindrome(theText)
    set theLetters to ""
    repeat with aCharacter in characters of theText
        if aCharacter is in "abcdefghijklmnopqrstuvwxyz0123456789" then set theLetters to theLetters & aCharacter
    end repeat
    if theLetters is "" then return true
    ignoring case
        return theLetters is reverseText(theLetters)
    end ignoring
end isPalindrome

-- Every place where one text occurs in another; overlapping places count too.
to findAll(theText, searchFor)
    set thePlaces to {}
    set skipped to 0
    repeat
        set thePlace to offset of searchFor in theText
        if thePlace is 0 then exit repeat
        set the end of thePlaces to skipped + thePlace
        if thePlace ≥ (length of theText) then exit repeat
        set theText to text (thePlace + 1) thru -1 of theText
        set skipped to skipped + thePlace
    end repeat
    return thePlaces
end findAll

to countOccurrences(theText, searchFor)
    return (length of splitText(theText, searchFor)) - 1
end countOccurrences

to textBefore(theText, theMark)
    set thePlace to offset of theMark in theText
    if thePlace = 0 then return theText
    if thePlace = 1 then return ""
    return text 1 thru (thePlace - 1) of theText
end textBefore

to textAfter(theText, theMark)
    set thePlace to offset of theMark in theText
    if thePlace = 0 then return ""
    set nextPlace to thePlace + (length of theMark)
    if nextPlace > (length of theText) then return ""
    return text nextPlace thru -1 of theText
end textAfter

to textBetween(theText, openingMark, closingMark)
    return textBefore(textAfter(theText, openingMark), closingMark)
end textBetween

-- Breaks a text into lines of at most theWidth characters, at spaces; a longer word gets a line of its own.
to wrapText(theText, theWidth)
    set {theLines, theLine} to {{}, ""}
    repeat with wordReference in splitText(theText, space)
        set theWord to contents of wordReference
        if theWord is not "" then
            if theLine is "" then
                set theLine to theWord
            else if (length of theLine) + 1 + (length of theWord) ≤ theWidth then
                set theLine to theLine & space & theWord
            else
                set the end of theLines to theLine
                set theLine to theWord
            end if
        end if
    end repeat
    if theLine is not "" then set the end of theLines to theLine
    return theLines
end wrapText

to shortenText(theText, theLimit)
    if (length of theText) ≤ theLimit then return theText
    if theLimit < 2 then return "…"
    return (text 1 thru (theLimit - 1) of theText) & "…"
end shortenText

to indentText(theText, thePrefix)
    set theLines to paragraphs of theText
    repeat with i from 1 to count theLines
        set item i of theLines to thePrefix & item i of theLines
    end repeat
    return joinTexts(theLines, linefeed)
end indentText

to squeezeSpaces(theText)
    repeat while theText contains "  "
        set theText to replaceText(theText, "  ", " ")
    end repeat
    return theText
end squeezeSpaces

to isNumeric(theText)
    try
        theText as number
        return true
    on error number -1700
        return false
    end try
end isNumeric

to isMadeOf(theText, theCharacters)
    considering case
        repeat with i from 1 to length of theText
            if character i of theText is not in theCharacters then return false
        end repeat
    end considering
    return true
end isMadeOf

-- Wildcards: * for any run of characters, ? for one.
to matchesWildcard(theText, thePattern)
    if thePattern is "" then return theText is ""
    set firstOne to character 1 of thePattern
    set restOfPattern to ""
    if (length of thePattern) > 1 then set restOfPattern to text 2 thru -1 of thePattern
    if firstOne is "*" then
        if restOfPattern is "" then return true
        repeat with i from 1 to (length of theText)
            if matchesWildcard(text i thru -1 of theText, restOfPattern) then return true
        end repeat
        return matchesWildcard("", restOfPattern)
    end if
    if theText is "" then return false
    if firstOne is not "?" and firstOne is not character 1 of theText then return false
    if (length of theText) = 1 then return matchesWildcard("", restOfPattern)
    return matchesWildcard(text 2 thru -1 of theText, restOfPattern)
end matchesWildcard

property romanDigits : {{1000, "M"}, {900, "CM"}, {500, "D"}, {400, "CD"}, {100, "C"}, {90, "XC"}, ¬
    {50, "L"}, {40, "XL"}, {10, "X"}, {9, "IX"}, {5, "V"}, {4, "IV"}, {1, "I"}}

to romanFromNumber(n)
    if n < 1 or n > 3999 then error "No Roman numeral for " & n & "." number 1001
    set theResult to ""
    repeat with aDigit in romanDigits
        set {digitValue, digitText} to aDigit
        repeat while n ≥ digitValue
            set theResult to theResult & digitText
            set n to n - digitValue
        end repeat
    end repeat
    return theResult
end romanFromNumber

to numberFromRoman(theNumeral)
    set {total, i} to {0, 1}
    repeat while i ≤ length of theNumeral
        set found to false
        repeat with aDigit in romanDigits
            set {digitValue, digitText} to contents of aDigit
            set j to i + (length of digitText) - 1
            if j ≤ length of theNumeral then
                if text i thru j of theNumeral is digitText then
                    set total to total + digitValue
                    set i to j + 1
                    set found to true
                    exit repeat
                end if
            end if
        end repeat
        if not found then error "Not a Roman numeral: " & theNumeral number 1002
    end repeat
    return total
end numberFromRoman

to textInBase(n, theBase)
    if n = 0 then return "0"
    if n < 0 then return "-" & textInBase(-n, theBase)
    set theDigits to "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"
    set theResult to ""
    repeat while n > 0
        set theResult to (character (n mod theBase + 1) of theDigits) & theResult
        set n to n div theBase
    end repeat
    return theResult
end textInBase

to numberFromBase(theText, theBase)
    set total to 0
    repeat with aCharacter in theText
        set digitValue to (offset of (contents of aCharacter) in "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ") - 1
        if digitValue < 0 or digitValue ≥ theBase then error "Not a digit of base " & theBase & ": " & aCharacter number 1003
        set total to total * theBase + digitValue
    end repeat
    return total
end numberFromBase

to caesar(theText, theShift)
    set theResult to {}
    repeat with aCharacter in characters of theText
        set aCode to id of aCharacter
        if aCode ≥ 65 and aCode ≤ 90 then
            set aCode to (aCode - 65 + theShift + 26) mod 26 + 65
        else if aCode ≥ 97 and aCode ≤ 122 then
            set aCode to (aCode - 97 + theShift + 26) mod 26 + 97
        end if
        set end of theResult to character id aCode
    end repeat
    return joinTexts(theResult, "")
end caesar

to runLengths(theText)
    if theText is "" then return {}
    set theRuns to {}
    set current to character 1 of theText
    set n to 1
    repeat with i from 2 to length of theText
        set aCharacter to character i of theText
        if aCharacter = current then
            set n to n + 1
        else
            set end of theRuns to {current, n}
            set {current, n} to {aCharacter, 1}
        end if
    end repeat
    set end of theRuns to {current, n}
    return theRuns
end runLengths

-- The number of single-character changes that make one text of the other.
to editDistance(a, b)
    set {m, n} to {length of a, length of b}
    set previousRow to {0}
    repeat with j from 1 to n
        set end of previousRow to j
    end repeat
    repeat with i from 1 to m
        set thisRow to {i}
        repeat with j from 1 to n
            set cost to 1
            if character i of a is character j of b then set cost to 0
            set best to (item j of previousRow) + cost
            if (item (j + 1) of previousRow) + 1 < best then set best to (item (j + 1) of previousRow) + 1
            if (item j of thisRow) + 1 < best then set best to (item j of thisRow) + 1
            set end of thisRow to best
        end repeat
        set previousRow to thisRow
    end repeat
    return the last item of previousRow
end editDistance

to longestCommonText(a, b)
    set longest to ""
    repeat with i from 1 to length of a
        repeat with j from i + (length of longest) to length of a
            if b does not contain text i thru j of a then exit repeat
            set longest to text i thru j of a
        end repeat
    end repeat
    return longest
end longestCommonText

to ordinalText(n)
    set lastTwo to n mod 100
    if lastTwo ≥ 11 and lastTwo ≤ 13 then return (n as text) & "th"
    set theEndings to {"st", "nd", "rd"}
    set lastOne to n mod 10
    if lastOne ≥ 1 and lastOne ≤ 3 then return (n as text) & item lastOne of theEndings
    return (n as text) & "th"
end ordinalText

to groupDigits(n, theMark)
    set theText to n as text
    set theSign to ""
    if theText starts with "-" then
        set theSign to "-"
        set theText to text 2 thru -1 of theText
    end if
    set theResult to ""
    repeat while (length of theText) > 3
        set theResult to theMark & (text -3 thru -1 of theText) & theResult
        set theText to text 1 thru -4 of theText
    end repeat
    return theSign & theText & theResult
end groupDigits

to spellNumber(n)
    set smallOnes to {"one", "two", "three", "four", "five", "six", "seven", "eight", "nine", "ten", "eleven", "twelve", ¬
        "thirteen", "fourteen", "fifteen", "sixteen", "seventeen", "eighteen", "nineteen"}
    set theTens to {"", "twenty", "thirty", "forty", "fifty", "sixty", "seventy", "eighty", "ninety"}
    if n = 0 then return "zero"
    if n < 0 then return "minus " & spellNumber(-n)
    if n < 20 then return item n of smallOnes
    if n < 100 then
        set theResult to item (n div 10) of theTens
        if n mod 10 ≠ 0 then set theResult to theResult & "-" & spellNumber(n mod 10)
        return theResult
    end if
    if n < 1000 then
        set theResult to spellNumber(n div 100) & " hundred"
        if n mod 100 ≠ 0 then set theResult to theResult & " and " & spellNumber(n mod 100)
        return theResult
    end if
    set theResult to spellNumber(n div 1000) & " thousand"
    if n mod 1000 ≠ 0 then set theResult to theResult & " " & spellNumber(n mod 1000)
    return theResult
end spellNumber

script TextSuite
    property title : "texts"

    to runTests(t)
        tell t to same({"a", "b", "c"}, splitText("a,b,c", ","), "split")
        tell t to same({"a", "", "c"}, splitText("a,,c", ","), "split, empty part")
        tell t to same({"a,b"}, splitText("a,b", ";"), "split, no delimiter")
        tell t to same({"", ""}, splitText(",", ","), "split, only a delimiter")
        tell t to same({"a", "b", "c", "d"}, splitText("a, b; c and d", {", ", "; ", " and "}), "split at several")
        tell t to same("a-b-c", joinTexts({"a", "b", "c"}, "-"), "join")
        tell t to same("1-2.5-true", joinTexts({1, 2.5, true}, "-"), "join what is not text")
        tell t to same("", joinTexts({}, "-"), "join nothing")
        tell t to same("the dog sat", replaceText("the cat sat", "cat", "dog"), "replace")
        tell t to same("a  b", replaceText("a..b", ".", " "), "replace all")
        tell t to same("&lt;a&gt; &amp; b", replaceAllOf("<a> & b", {{"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}}), "replace pairs")

        t's same("abc", trimWhite("  abc" & tab & linefeed), "trim")
        t's same("a b", trimWhite(" a b "), "trim leaves the middle")
        t's same("", trimWhite("   "), "trim to nothing")
        t's same("", trimWhite(""), "trim nothing")
        t's same("x--", trimStart("--x--", "-"), "trim at the start")
        t's same("--x", trimEnd("--x--", "-"), "trim at the end")

        t's same("HELLO, WORLD 1", upperCased("Hello, World 1"), "upper case")
        t's same("hello, world 1", lowerCased("Hello, World 1"), "lower case")
        t's same("", upperCased(""), "upper case of nothing")
        t's same("Q", upperCased("q"), "one letter")
        t's same("STRAßE", upperCased("straße"), "only ASCII letters change")
        t's same("Hello", capitalized("hELLO"), "capitalize")
        t's same("The Quick Fox", titleCased("the quick fox"), "title case")
        t's same("makeNewMailbox", camelCased("Make new mailbox"), "camel case")

        t's same("ababab", repeatedText("ab", 3), "repeat")
        t's same("", repeatedText("ab", 0), "repeat zero times")
        repeat with n from 0 to 9
            t's same(repeatedText("xy", n), repeatedTextFast("xy", n), "repeat by doubling")
        end repeat
        t's same("007", (padLeft of 7 given width:3, filler:"0"), "pad left")
        t's same("7..", (padRight of 7 given filler:".", width:3), "pad right, parameters in another order")
        t's same("  ab  ", centerText("ab", 6), "center")
        t's same(" ab  ", centerText("ab", 5), "center, odd")
        t's same("abc", centerText("abc", 2), "center, too long")

        t's same("cba", reverseText("abc"), "reverse")
        t's truth(isPalindrome("A man, a plan, a canal: Panama!"), "palindrome")
        t's falsehood(isPalindrome("palindrome"), "no palindrome")
        t's truth(isPalindrome(""), "nothing is a palindrome")

        t's same({1, 3, 5}, findAll("ababa", "a"), "find all")
        t's same({1, 2, 3}, findAll("aaaa", "aa"), "find all, overlapping")
        t's same({}, findAll("abc", "x"), "find none")
        t's same(2, countOccurrences("one two one", "one"), "count")
        t's same("key", textBefore("key=value", "="), "before")
        t's same("value", textAfter("key=value", "="), "after")
        t's same("", textAfter("key=", "="), "after, nothing")
        t's same("key", textBefore("key", "="), "before, no mark")
        t's same("a@b.c", textBetween("Ann <a@b.c> x", "<", ">"), "between")

        t's same({"the quick", "brown fox", "jumps"}, wrapText("the quick brown fox jumps", 9), "wrap")
        t's same({"a", "incomprehensible", "b"}, wrapText("a incomprehensible b", 5), "wrap, long word")
        t's same({}, wrapText("", 5), "wrap nothing")
        t's same("abcd…", shortenText("abcdefgh", 5), "shorten")
        t's same("abc", shortenText("abc", 5), "shorten, short enough")
        t's same("> a" & linefeed & "> b", indentText("a" & return & "b", "> "), "indent")
        t's same("a b c", squeezeSpaces("a    b  c"), "squeeze")

        t's truth(isNumeric("12"), "numeric")
        t's truth(isNumeric("-1.5"), "numeric, negative")
        t's falsehood(isNumeric("12a"), "not numeric")
        t's truth(isMadeOf("abba", "ab"), "made of")
        t's falsehood(isMadeOf("abBa", "ab"), "made of, case counts")

        t's truth(matchesWildcard("invoice-2024.pdf", "invoice-*.pdf"), "wildcard")
        t's truth(matchesWildcard("a.txt", "?.txt"), "wildcard, one character")
        t's truth(matchesWildcard("", "*"), "wildcard, nothing")
        t's falsehood(matchesWildcard("a.txt", "*.pdf"), "wildcard, no match")
        t's falsehood(matchesWildcard("ab", "?"), "wildcard, too long")
        t's truth(matchesWildcard("aXbXc", "a*b*c"), "wildcard, two stars")

        repeat with pair_ in {{1, "I"}, {4, "IV"}, {9, "IX"}, {14, "XIV"}, {40, "XL"}, {90, "XC"}, {444, "CDXLIV"}, {1990, "MCMXC"}, {2024, "MMXXIV"}, {3999, "MMMCMXCIX"}}
            set {n, r} to pair_
            t's same(r, romanFromNumber(n), "to Roman")
            t's same(n, numberFromRoman(r), "from Roman")
        end repeat
        script tooLarge
            romanFromNumber(4000)
        end script
        t's raises(1001, tooLarge, "no such numeral")
        script notRoman
            numberFromRoman("XYZ")
        end script
        t's raisesText("Not a Roman numeral: XYZ", notRoman, "not a numeral")

        t's same("FF", textInBase(255, 16), "base 16")
        t's same("1010", textInBase(10, 2), "base 2")
        t's same("-Z", textInBase(-35, 36), "negative, base 36")
        t's same("0", textInBase(0, 2), "zero")
        t's same(255, numberFromBase("ff", 16), "from base 16")
        t's same(10, numberFromBase("1010", 2), "from base 2")
        script badDigit
            numberFromBase("12", 2)
        end script
        t's raises(1003, badDigit, "not a digit")

        t's same("Khoor, Zruog!", caesar("Hello, World!", 3), "Caesar")
        t's same("Hello, World!", caesar(caesar("Hello, World!", 13), 13), "there and back")
        t's same({{"a", 3}, {"b", 1}, {"c", 2}}, runLengths("aaabcc"), "run lengths")
        t's same({}, runLengths(""), "run lengths of nothing")
        t's same(3, editDistance("kitten", "sitting"), "edit distance")
        t's same(3, editDistance("", "abc"), "edit distance from nothing")
        t's same(0, editDistance("same", "same"), "edit distance of the same")
        t's same(" mail", longestCommonText("the mail client", "a mailbox"), "longest common text")
        t's same("", longestCommonText("abc", "xyz"), "nothing in common")

        set theOrdinals to {}
        repeat with n in {1, 2, 3, 4, 11, 12, 13, 21, 102, 111}
            set end of theOrdinals to ordinalText(n as integer)
        end repeat
        t's same("1st 2nd 3rd 4th 11th 12th 13th 21st 102nd 111th", joinTexts(theOrdinals, space), "ordinals")
        t's same("1,234,567", groupDigits(1234567, ","), "group digits")
        t's same("-1 000", groupDigits(-1000, " "), "group digits, negative")
        t's same("999", groupDigits(999, ","), "group digits, short")
        t's same("zero", spellNumber(0), "spell zero")
        t's same("forty-two", spellNumber(42), "spell 42")
        t's same("one hundred and five", spellNumber(105), "spell 105")
        t's same("twelve thousand three hundred and forty-five", spellNumber(12345), "spell 12345")
        t's same("minus nine", spellNumber(-9), "spell a negative")
        t's same("abc", {"a", "b", "c"} as text, "the delimiters are as they were")
    end runTests
end script
