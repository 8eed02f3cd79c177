(*
	Assertions for the self-tests of this library.

	The files of this folder, joined in the order of their names, are one script: each brings handlers or
	script objects and a suite that tests them, and the last one holds the run handler, which answers with
	a text like "412 passed, 0 failed".
*)

use AppleScript version "2.4"
use scripting additions

script Tally
	property passedCount : 0
	property failedCount : 0
	property failureNotes : {}
	property currentSuite : ""

	on startOver()
		set passedCount to 0
		set failedCount to 0
		set failureNotes to {}
	end startOver

	on beginSuite(suiteTitle)
		set currentSuite to suiteTitle
	end beginSuite

	-- Values are the same when they are equal with everything considered: "a" and "A" are not.
	on same(wanted, got, remark)
		considering case, diacriticals, hyphens, punctuation and white space
			set isSame to (wanted = got)
		end considering
		if isSame then
			set passedCount to passedCount + 1
		else
			addFailure(remark & ": wanted " & inSourceForm(wanted) & ", got " & inSourceForm(got))
		end if
		return isSame
	end same

	on truth(condition, remark)
		return same(true, condition, remark)
	end truth

	on falsehood(condition, remark)
		return same(false, condition, remark)
	end falsehood

	-- Two numbers that may differ in their last digits.
	on near(wanted, got, remark)
		set gap to wanted - got
		if gap < 0 then set gap to -gap
		if gap < 1.0E-9 then
			set passedCount to passedCount + 1
		else
			addFailure(remark & ": wanted about " & wanted & ", got " & got)
		end if
	end near

	-- The class too: 2 is not 2.0 here.
	on identical(wanted, got, remark)
		if class of wanted is not class of got then
			addFailure(remark & ": wanted a " & (class of wanted as text) & ", got a " & (class of got as text))
			return false
		end if
		return same(wanted, got, remark)
	end identical

	-- action is a script object; running it must end with the error of that number.
	on raises(wantedNumber, action, remark)
		try
			run action
		on error number n
			return same(wantedNumber, n, remark)
		end try
		addFailure(remark & ": ended without an error")
		return false
	end raises

	on raisesText(wantedText, action, remark)
		try
			run action
		on error problem
			return same(wantedText, problem, remark)
		end try
		addFailure(remark & ": ended without an error")
		return false
	end raisesText

	on addFailure(failureText)
		set failedCount to failedCount + 1
		set end of failureNotes to currentSuite & ": " & failureText
	end addFailure

	-- How a value prints. There is no command for it, but the text of a failed coercion holds it.
	on inSourceForm(v)
		try
			{v, missing value} as integer
		on error problem
			return text 13 thru -36 of problem
		end try
	end inSourceForm

	on summary()
		set counts to (passedCount as text) & " passed, " & failedCount & " failed"
		if failedCount = 0 then return counts
		set linesOfText to counts
		repeat with aNote in failureNotes
			set linesOfText to linesOfText & linefeed & aNote
		end repeat
		return linesOfText
	end summary
end script

script AssertionSuite
	property title : "assertions"

	on runTests(t)
		-- The framework tests itself with a tally of its own.
		copy Tally to inner
		inner's startOver()
		inner's beginSuite("inner")
		inner's same(1, 1, "one")
		inner's same("a", "A", "case counts")
		inner's truth(2 > 1, "two")
		inner's falsehood(2 > 1, "wrong on purpose")
		inner's near(0.3, 0.1 + 0.2, "near")
		inner's identical(2, 2.0, "classes")
		t's same(3, inner's passedCount, "passes are counted")
		t's same(3, inner's failedCount, "failures are counted")
		t's same("inner: case counts: wanted \"a\", got \"A\"", item 1 of inner's failureNotes, "the note tells both values")
		t's same("inner: classes: wanted a integer, got a real", item 3 of inner's failureNotes, "the note tells both classes")
		t's truth(inner's summary() starts with "3 passed, 3 failed", "summary")
		t's same(4, count of paragraphs of inner's summary(), "one line for each failure")

		script quiet
			on run
				return 1
			end run
		end script
		inner's raises(-1, quiet, "quiet")
		t's same("inner: quiet: ended without an error", last item of inner's failureNotes, "an error that does not come")

		script loud
			error "Too loud." number 77
		end script
		t's raises(77, loud, "the number of an error")
		t's raisesText("Too loud.", loud, "the text of an error")

		-- source form
		t's same("{1, 2.5, \"x\", true}", t's inSourceForm({1, 2.5, "x", true}), "a list")
		t's same("{a:1, b:{}}", t's inSourceForm({a:1, b:{}}), "a record")
		t's same("missing value", t's inSourceForm(missing value), "missing value")
		t's same("\"a \\\"quoted\\\" \\\\ text\"", t's inSourceForm("a \"quoted\" \\ text"), "escapes")
	end runTests
end script

