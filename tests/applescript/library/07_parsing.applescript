-- Taking texts apart: tokens, expressions, comma-separated values, settings, folded headers, light markup.

property letters_ : "abcdefghijklmnopqrstuvwxyz_"
property figures_ : "0123456789"

-- Tokens are {kind, text, place}.
on tokenize(source)
	set tokens to {}
	set i to 1
	set n to length of source
	repeat while i ≤ n
		set c to character i of source
		set j to i
		if c is in {space, tab, return, linefeed} then
			-- nothing
		else if c is in figures_ then
			repeat while j < n and (character (j + 1) of source is in figures_ & ".")
				set j to j + 1
			end repeat
			set end of tokens to {"number", text i thru j of source, i}
		else if c is in letters_ then
			repeat while j < n and (character (j + 1) of source is in letters_ & figures_)
				set j to j + 1
			end repeat
			set end of tokens to {"name", text i thru j of source, i}
		else if c is in "+-*/^(),=<>" then
			if c is in "<>" and j < n and character (j + 1) of source is "=" then set j to j + 1
			set end of tokens to {"sign", text i thru j of source, i}
		else
			error "Unexpected “" & c & "” at " & i & "." number 7001
		end if
		set i to j + 1
	end repeat
	return tokens
end tokenize

-- Recursive descent, with variables and a few functions.
on evaluate given expression:source, variables:bindings
	script machine
		property tokens : tokenize(source)
		property k : 1

		on lookahead()
			if k > (count tokens) then return ""
			return item 2 of item k of tokens
		end lookahead

		on advance()
			set k to k + 1
		end advance

		on take(sign_)
			if lookahead() is not sign_ then problem("“" & sign_ & "” expected")
			advance()
		end take

		on problem(what)
			if k > (count tokens) then error what & " at the end." number 7002
			error what & " at " & item 3 of item k of tokens & "." number 7002
		end problem

		on comparison()
			set v to sum()
			set op to lookahead()
			if op is "<" then
				advance()
				return v < sum()
			else if op is "<=" then
				advance()
				return v ≤ sum()
			else if op is ">" then
				advance()
				return v > sum()
			else if op is ">=" then
				advance()
				return v ≥ sum()
			else if op is "=" then
				advance()
				return v = sum()
			end if
			return v
		end comparison

		on sum()
			set v to product()
			repeat while lookahead() is in {"+", "-"}
				set op to lookahead()
				advance()
				set w to product()
				if op is "+" then
					set v to v + w
				else
					set v to v - w
				end if
			end repeat
			return v
		end sum

		on product()
			set v to unary()
			repeat
				set op to lookahead()
				if op is "*" then
					advance()
					set v to v * (unary())
				else if op is "/" then
					advance()
					set v to v / (unary())
				else
					return v
				end if
			end repeat
		end product

		on unary()
			if lookahead() is "-" then
				advance()
				return -(unary())
			end if
			return power()
		end unary

		on power()
			set v to primary()
			if lookahead() is not "^" then return v
			advance()
			return v ^ (unary())
		end power

		on primary()
			if k > (count tokens) then problem("A value expected")
			set {kind_, spelling} to item k of tokens
			if kind_ is "number" then
				advance()
				return spelling as number
			else if kind_ is "name" then
				advance()
				if lookahead() is "(" then return callFunction(spelling)
				repeat with aBinding in bindings
					if item 1 of aBinding is spelling then return item 2 of aBinding
				end repeat
				set k to k - 1
				problem("Unknown name “" & spelling & "”")
			else if spelling is "(" then
				advance()
				set v to comparison()
				take(")")
				return v
			end if
			problem("A value expected")
		end primary

		on callFunction(functionName)
			take("(")
			set arguments_ to {}
			if lookahead() is not ")" then
				repeat
					set end of arguments_ to comparison()
					if lookahead() is not "," then exit repeat
					advance()
				end repeat
			end if
			take(")")
			if functionName is "max" then return greatestOf(arguments_)
			if functionName is "min" then return leastOf(arguments_)
			if functionName is "sqrt" then return (item 1 of arguments_) ^ 0.5
			if functionName is "if" then
				if item 1 of arguments_ then return item 2 of arguments_
				return item 3 of arguments_
			end if
			error "Unknown function “" & functionName & "”." number 7003
		end callFunction
	end script

	set v to machine's comparison()
	if machine's k ≤ (count machine's tokens) then machine's problem("The end expected")
	return v
end evaluate

-- The other way: to reverse Polish notation by two stacks, then worked off.
on toPolish(source)
	set ranks to {{"+", 1}, {"-", 1}, {"*", 2}, {"/", 2}, {"^", 3}}
	set {outputs, operators} to {{}, newStack()}
	repeat with aToken in tokenize(source)
		set {kind_, spelling} to contents of aToken
		if kind_ is in {"number", "name"} then
			set end of outputs to spelling
		else if spelling is "(" then
			operators's push("(")
		else if spelling is ")" then
			repeat until operators's peek() is "("
				set end of outputs to operators's pop()
			end repeat
			operators's pop()
		else
			repeat until operators's isEmpty() or operators's peek() is "("
				set {mine, theirs} to {rankOf(spelling, ranks), rankOf(operators's peek(), ranks)}
				if mine > theirs or (mine = theirs and spelling is "^") then exit repeat
				set end of outputs to operators's pop()
			end repeat
			operators's push(spelling)
		end if
	end repeat
	repeat until operators's isEmpty()
		set end of outputs to operators's pop()
	end repeat
	return joinTexts(outputs, space)
end toPolish

on rankOf(sign_, ranks)
	repeat with r in ranks
		if item 1 of r is sign_ then return item 2 of r
	end repeat
	return 0
end rankOf

on workOff(polish)
	set s to newStack()
	repeat with w in splitText(polish, space)
		set w to contents of w
		if w is in {"+", "-", "*", "/", "^"} then
			set b to s's pop()
			set a to s's pop()
			if w is "+" then
				s's push(a + b)
			else if w is "-" then
				s's push(a - b)
			else if w is "*" then
				s's push(a * b)
			else if w is "/" then
				s's push(a / b)
			else
				s's push(a ^ b)
			end if
		else
			s's push(w as number)
		end if
	end repeat
	return s's pop()
end workOff

-- Comma-separated values with quoted fields, doubled quotes and line breaks inside.
on parseCSV(source, separator)
	set {rows, aRow, field_, quoted} to {{}, {}, "", false}
	set n to length of source
	set i to 1
	repeat while i ≤ n
		set c to character i of source
		if quoted then
			if c is quote then
				if i < n and character (i + 1) of source is quote then
					set field_ to field_ & quote
					set i to i + 1
				else
					set quoted to false
				end if
			else
				set field_ to field_ & c
			end if
		else if c is quote then
			set quoted to true
		else if c is separator then
			set end of aRow to field_
			set field_ to ""
		else if c is linefeed then
			set end of aRow to field_
			set end of rows to aRow
			set {aRow, field_} to {{}, ""}
		else if c is not return then
			set field_ to field_ & c
		end if
		set i to i + 1
	end repeat
	if quoted then error "A quoted field does not end." number 7004
	if field_ is not "" or aRow is not {} then
		set end of aRow to field_
		set end of rows to aRow
	end if
	return rows
end parseCSV

on makeCSV(rows, separator)
	set linesOfText to {}
	repeat with aRow in rows
		set fields_ to {}
		repeat with aField in aRow
			set f to aField as text
			if f contains quote or f contains separator or f contains linefeed then
				set f to quote & replaceText(f, quote, quote & quote) & quote
			end if
			set end of fields_ to f
		end repeat
		set end of linesOfText to joinTexts(fields_, separator)
	end repeat
	return joinTexts(linesOfText, linefeed)
end makeCSV

-- key = value, with [sections] and ; comments; a dictionary of "section.key".
on parseSettings(source)
	set found to newDictionary()
	set section_ to ""
	set lineNumber to 0
	repeat with aLine in paragraphs of source
		set lineNumber to lineNumber + 1
		set aLine to trimWhite(contents of aLine)
		if aLine is "" or aLine starts with ";" or aLine begins with "#" then
			-- nothing to do
		else if aLine starts with "[" and aLine ends with "]" then
			set section_ to (text 2 thru -2 of aLine) & "."
		else if aLine contains "=" then
			found's putValue(section_ & trimWhite(textBefore(aLine, "=")), settingValue(trimWhite(textAfter(aLine, "="))))
		else
			error "Line " & lineNumber & " is no setting: " & aLine number 7005 partial result found's entries()
		end if
	end repeat
	return found
end parseSettings

on settingValue(v)
	if v is "true" or v is "yes" then return true
	if v is "false" or v is "no" then return false
	if isNumeric(v) then return v as number
	return v
end settingValue

-- The head of a letter: lines that begin with white space belong to the line before.
on parseHeaders(source)
	set found to {}
	repeat with aLine in paragraphs of source
		set aLine to contents of aLine
		if aLine is "" then exit repeat
		if character 1 of aLine is in {space, tab} and found is not {} then
			set lastOne to last item of found
			set item 2 of lastOne to (item 2 of lastOne) & space & trimWhite(aLine)
		else
			set end of found to {textBefore(aLine, ":"), trimWhite(textAfter(aLine, ":"))}
		end if
	end repeat
	return found
end parseHeaders

on foldHeader(headerName, headerText, limit)
	set linesOfText to wrapText(headerName & ": " & headerText, limit)
	return joinTexts(linesOfText, linefeed & space)
end foldHeader

on headerNamed(headerName, headers_)
	repeat with h in headers_
		ignoring case
			if item 1 of h is headerName then return item 2 of h
		end ignoring
	end repeat
	return missing value
end headerNamed

-- Light markup: # headings, - lists, *strong* and _emphasis_, paragraphs.
on markupToHTML(source)
	set {pieces, listOpen} to {{}, false}
	repeat with aLine in paragraphs of source
		set aLine to replaceAllOf(aLine as text, {{"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}})
		set isItem to aLine starts with "- "
		if isItem and not listOpen then set end of pieces to "<ul>"
		if listOpen and not isItem then set end of pieces to "</ul>"
		set listOpen to isItem
		if isItem then
			set end of pieces to "<li>" & markupSpans(text 3 thru -1 of aLine) & "</li>"
		else if aLine starts with "#" then
			set level to 1
			repeat while character (level + 1) of aLine is "#"
				set level to level + 1
			end repeat
			set end of pieces to "<h" & level & ">" & markupSpans(trimWhite(text (level + 1) thru -1 of aLine)) & "</h" & level & ">"
		else if aLine is not "" then
			set end of pieces to "<p>" & markupSpans(aLine) & "</p>"
		end if
	end repeat
	if listOpen then set end of pieces to "</ul>"
	return joinTexts(pieces, "")
end markupToHTML

on markupSpans(s)
	return betweenMarks(betweenMarks(s, "*", "strong"), "_", "em")
end markupSpans

on betweenMarks(s, mark, tagName)
	set parts to splitText(s, mark)
	if (count parts) mod 2 = 0 then return s -- an odd mark stands for itself
	set out_ to item 1 of parts
	repeat with i from 2 to count parts
		if i mod 2 = 0 then
			set out_ to out_ & "<" & tagName & ">" & item i of parts & "</" & tagName & ">"
		else
			set out_ to out_ & item i of parts
		end if
	end repeat
	return out_
end betweenMarks

-- "Dear {{name}}, {{count}} letters": the values come from a dictionary.
on fillTemplate(template, values_)
	set {filled, remaining} to {"", template}
	repeat while remaining contains "{{"
		set filled to filled & textBefore(remaining, "{{")
		set remaining to textAfter(remaining, "{{")
		if remaining does not contain "}}" then error "A placeholder does not end." number 7006
		set filled to filled & (values_'s valueFor(trimWhite(textBefore(remaining, "}}"))))
		set remaining to textAfter(remaining, "}}")
	end repeat
	return filled & remaining
end fillTemplate

on encodePercent(s)
	set out_ to ""
	repeat with c in s
		set c to contents of c
		if c is in "abcdefghijklmnopqrstuvwxyz0123456789-_.~" then
			set out_ to out_ & c
		else
			set out_ to out_ & "%" & text -2 thru -1 of ("0" & textInBase(id of c, 16))
		end if
	end repeat
	return out_
end encodePercent

on decodePercent(s)
	set out_ to ""
	set i to 1
	repeat while i ≤ length of s
		set c to character i of s
		if c is "%" then
			set c to character id (numberFromBase(text (i + 1) thru (i + 2) of s, 16))
			set i to i + 2
		else if c is "+" then
			set c to space
		end if
		set out_ to out_ & c
		set i to i + 1
	end repeat
	return out_
end decodePercent

property base64Digits : "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"

on encodeBase64(s)
	set codes to {}
	repeat with c in s
		set end of codes to id of c
	end repeat
	set out_ to ""
	repeat with i from 1 to count codes by 3
		set {a, b, c} to {item i of codes, 0, 0}
		set left_ to (count codes) - i
		if left_ > 0 then set b to item (i + 1) of codes
		if left_ > 1 then set c to item (i + 2) of codes
		set v to a * 65536 + b * 256 + c
		set four to ""
		repeat 4 times
			set four to (character (v mod 64 + 1) of base64Digits) & four
			set v to v div 64
		end repeat
		if left_ = 0 then set four to (text 1 thru 2 of four) & "=="
		if left_ = 1 then set four to (text 1 thru 3 of four) & "="
		set out_ to out_ & four
	end repeat
	return out_
end encodeBase64

on decodeBase64(s)
	set out_ to ""
	repeat with i from 1 to length of s by 4
		set {v, pad} to {0, 0}
		repeat with j from i to i + 3
			set c to character j of s
			considering case
				if c is "=" then
					set {d, pad} to {0, pad + 1}
				else
					set d to (offset of c in base64Digits) - 1
				end if
			end considering
			set v to v * 64 + d
		end repeat
		set three to {v div 65536, v div 256 mod 256, v mod 256}
		set out_ to out_ & character id (items 1 thru (3 - pad) of three)
	end repeat
	return out_
end decodeBase64

script ParsingSuite
	property title : "parsing"

	on valueOf(source)
		return evaluate given expression:source, variables:{{"x", 5}, {"rate", 0.5}}
	end valueOf

	on runTests(t)
		t's same({{"number", "12.5", 1}, {"sign", "+", 5}, {"name", "x1", 6}, {"sign", "<=", 9}, {"sign", "(", 12}}, tokenize("12.5+x1 <= ("), "tokens")
		t's same({}, tokenize("   "), "no tokens")
		script badToken
			tokenize("1 $ 2")
		end script
		t's raisesText("Unexpected “$” at 3.", badToken, "a bad token")

		repeat with aCase in {{"1 + 2 * 3", 7}, {"(1 + 2) * 3", 9}, {"2 ^ 3 ^ 2", 512}, {"-2 ^ 2", -4}, {"10 - 4 - 3", 3}, {"8 / 4 / 2", 1}, {"x * rate", 2.5}, {"max(1, x, 3)", 5}, {"min(x, 2 * x) + 1", 6}, {"if(x >= 5, 10, 20)", 10}, {"--3", 3}, {"2 * -3", -6}, {"sqrt(16)", 4}, {"x < 3", false}, {"1 + 1 = 2", true}}
			set {source, v} to contents of aCase
			t's same(v, valueOf(source), "evaluate " & source)
		end repeat
		repeat with aCase in {{"1 +", "A value expected at the end."}, {"(1", "“)” expected at the end."}, {"1 2", "The end expected at 3."}, {"y", "Unknown name “y” at 1."}, {") 1", "A value expected at 1."}}
			script evaluateIt
				property source : item 1 of aCase
				evaluate given expression:source, variables:{}
			end script
			t's raisesText(item 2 of aCase, evaluateIt, "a bad expression")
		end repeat

		t's same("1 2 3 * +", toPolish("1 + 2 * 3"), "to Polish")
		t's same("1 2 + 3 *", toPolish("(1 + 2) * 3"), "to Polish, parentheses")
		t's same("2 3 2 ^ ^", toPolish("2 ^ 3 ^ 2"), "to Polish, right to left")
		repeat with source in {"1 + 2 * 3", "(4 - 1) * (2 + 3) / 5", "2 ^ 3 ^ 2 - 1"}
			t's same(valueOf(contents of source), workOff(toPolish(contents of source)), "two ways to the same value")
		end repeat

		t's same({{"a", "b"}, {"c", "d"}}, parseCSV("a,b" & linefeed & "c,d" & linefeed, ","), "CSV")
		t's same({{"a,b", "say \"hi\"", ""}, {"two" & linefeed & "lines"}}, parseCSV("\"a,b\",\"say \"\"hi\"\"\"," & return & linefeed & "\"two" & linefeed & "lines\"", ","), "CSV, quoted")
		t's same({{"a", "b"}}, parseCSV("a" & tab & "b", tab), "tab-separated")
		t's same({}, parseCSV("", ","), "CSV, nothing")
		set rows_ to {{"a", "b,c"}, {"say \"x\"", "1"}}
		t's same("a,\"b,c\"" & linefeed & "\"say \"\"x\"\"\",1", makeCSV(rows_, ","), "make CSV")
		t's same(rows_, parseCSV(makeCSV(rows_, ","), ","), "CSV, there and back")
		script openQuote
			parseCSV("a,\"b", ",")
		end script
		t's raises(7004, openQuote, "a quote that does not end")

		set source to "; settings
name = Quillbox
[window]
width = 320
visible=yes
# more
ratio = 1.5"
		t's same({{"name", "Quillbox"}, {"window.width", 320}, {"window.visible", true}, {"window.ratio", 1.5}}, parseSettings(source)'s entries(), "settings")
		try
			parseSettings("a = 1" & linefeed & "oops")
			t's addFailure("a bad setting")
		on error problem number n partial result soFar
			t's same({"Line 2 is no setting: oops", 7005, {{"a", 1}}}, {problem, n, soFar}, "a bad setting")
		end try

		set headers_ to parseHeaders("From: Ann <ann@example.org>" & linefeed & "Subject: a long" & linefeed & tab & "folded subject" & linefeed & "TO: bob@example.org" & linefeed & linefeed & "Not: a header")
		t's same({"From", "Subject", "TO"}, item 1 of unzip(headers_), "header names")
		t's same("a long folded subject", headerNamed("subject", headers_), "unfolded")
		t's same(missing value, headerNamed("Cc", headers_), "no such header")
		t's same("Subject: the quick brown" & linefeed & " fox jumps over the lazy" & linefeed & " dog", foldHeader("Subject", "the quick brown fox jumps over the lazy dog", 24), "folded")

		t's same("<h1>Title</h1><p>Some <strong>strong</strong> and <em>soft</em> &lt;words&gt;.</p><ul><li>one</li><li>two</li></ul><h2>End</h2>", markupToHTML("# Title" & linefeed & "Some *strong* and _soft_ <words>." & linefeed & "- one" & linefeed & "- two" & linefeed & "## End"), "markup")
		t's same("<p>2 * 3</p>", markupToHTML("2 * 3"), "a single mark stands for itself")
		t's same("<ul><li>x</li></ul>", markupToHTML("- x"), "a list at the end")

		set values_ to newDictionary()
		values_'s putValue("name", "Ann")
		values_'s putValue("n", 3)
		t's same("Dear Ann, 3 letters, Ann.", fillTemplate("Dear {{name}}, {{ n }} letters, {{name}}.", values_), "template")
		script openPlaceholder
			fillTemplate("{{x", newDictionary())
		end script
		t's raises(7006, openPlaceholder, "a placeholder that does not end")

		t's same("a%20b%2Fc~%5B1%5D", encodePercent("a b/c~[1]"), "percent")
		t's same("a b/c d", decodePercent("a%20b%2fc+d"), "percent, back")
		repeat with s in {"", "f", "fo", "foo", "foob", "fooba", "foobar"}
			t's same(contents of s, decodeBase64(encodeBase64(contents of s)), "base 64, there and back")
		end repeat
		t's same("Zm9vYg==", encodeBase64("foob"), "base 64")
	end runTests
end script
