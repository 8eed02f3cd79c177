-- Runs every suite and answers with the sum.
on run
	Tally's startOver()
	set suites to {AssertionSuite, SortingSuite, TextSuite, ListSuite, ContainerSuite, JSONSuite, ParsingSuite, ¬
		ClosureSuite, MannersSuite}
	repeat with aSuite in suites
		runSuite(contents of aSuite)
	end repeat
	return Tally's summary()
end run

on runSuite(aSuite)
	Tally's beginSuite(aSuite's title)
	try
		aSuite's runTests(Tally)
	on error problem number n
		Tally's addFailure("ended early: " & problem & " (" & n & ")")
	end try
end runSuite
