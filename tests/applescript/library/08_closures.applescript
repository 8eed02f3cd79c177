-- Script objects as closures, iterators, observers, heirs and machines with states.

-- Iterators have hasNext() and nextValue().

on iterate(xs)
	script
		property i : 0
		on hasNext()
			return i < (count xs)
		end hasNext
		on nextValue()
			set i to i + 1
			return item i of xs
		end nextValue
	end script
end iterate

on countFrom(start_)
	script
		property n : start_ - 1
		to hasNext()
			true
		end hasNext
		to nextValue()
			set n to n + 1
		end nextValue
	end script
end countFrom

on filteredBy(iterator, test)
	script Filtered
		property pending : missing value
		property isReady : false
		on hasNext()
			repeat until isReady
				if not iterator's hasNext() then return false
				set pending to iterator's nextValue()
				if test's |apply|(pending) then set isReady to true
			end repeat
			return true
		end hasNext
		on nextValue()
			if not hasNext() then error "Nothing is left." number 8001
			set isReady to false
			return pending
		end nextValue
	end script
	return Filtered
end filteredBy

on mappedBy(iterator, f)
	script Mapped
		property g : fnFrom(f)
		on hasNext()
			return iterator's hasNext()
		end hasNext
		on nextValue()
			return g's |apply|(iterator's nextValue())
		end nextValue
	end script
	return Mapped
end mappedBy

on chained(iterators)
	script ChainedIterator
		property k : 1
		on hasNext()
			repeat while k ≤ length of iterators
				if (item k of iterators)'s hasNext() then return true
				set k to k + 1
			end repeat
			return false
		end hasNext
		on nextValue()
			if not my hasNext() then error "Nothing is left." number 8001
			return nextValue() of item k of iterators
		end nextValue
	end script
	return ChainedIterator
end chained

on takeFrom(n, iterator)
	set taken to {}
	repeat n times
		if not iterator's hasNext() then exit repeat
		set end of taken to iterator's nextValue()
	end repeat
	return taken
end takeFrom

on drain(iterator)
	set taken to {}
	repeat while iterator's hasNext()
		set end of taken to iterator's nextValue()
	end repeat
	return taken
end drain

-- The accounts of a bank share nothing but their handlers.
on openAccount(owner_, firstDeposit)
	script Account_
		property owner : owner_
		property balance : firstDeposit
		property history : {}
		on deposit(amount)
			set balance to balance + amount
			set end of history to amount
			return me
		end deposit
		on withdraw(amount)
			if amount > balance then error owner & " has only " & balance & "." number 8002
			return deposit(-amount)
		end withdraw
	end script
	return Account_
end openAccount

-- A savings account takes over an account and adds interest.
on openSavings(owner_, firstDeposit, rate_)
	script Savings
		property parent : openAccount(owner_, firstDeposit)
		property rate : rate_
		on addInterest()
			return my deposit((my balance) * rate)
		end addInterest
		on withdraw(amount)
			if amount > 500 then error "At most 500 at a time." number 8003
			continue withdraw(amount)
		end withdraw
	end script
	return Savings
end openSavings

-- A function that remembers what it has answered.
on memoized(f)
	script Memo
		property known : newDictionary()
		property calls : 0
		on |apply|(x)
			if known's hasKey(x) then return known's valueFor(x)
			set calls to calls + 1
			set v to f's |apply|(x)
			known's putValue(x, v)
			return v
		end |apply|
	end script
	return Memo
end memoized

-- Observers.
on newSubject(firstValue)
	script Subject_
		property currentValue : firstValue
		property observers : {}
		on subscribe(observer)
			set end of observers to observer
		end subscribe
		on change(newValue)
			if newValue = currentValue then return 0
			set oldValue to currentValue
			set currentValue to newValue
			repeat with o in observers
				tell o to valueChanged(oldValue, newValue)
			end repeat
			return length of observers
		end change
	end script
	return Subject_
end newSubject

-- A machine with states: {{state, event, next state}, ...}
on newMachine(firstState, transitions)
	script Machine_
		property state : firstState
		property trace : {firstState}
		on handle(eventName)
			repeat with aTransition in transitions
				set {fromState, trigger, toState} to contents of aTransition
				if fromState is state and trigger is eventName then
					set state to toState
					set end of trace to toState
					return true
				end if
			end repeat
			return false
		end handle
	end script
	return Machine_
end newMachine

-- Three generations, for inheritance.
script Animal
	property legs : 4
	property sound : "…"
	on describe_()
		return my kind_() & " with " & (my legs) & " legs says " & my sound
	end describe_
	on kind_()
		return "an animal"
	end kind_
	on move_(distance)
		return "moves " & distance
	end move_
end script

script Bird
	property parent : Animal
	property legs : 2
	property sound : "tweet"
	on kind_()
		return "a bird"
	end kind_
	on move_(distance)
		continue move_(distance * 2)
		return "flaps, then " & result
	end move_
end script

script Penguin
	property parent : Bird
	property sound : "honk"
	on kind_()
		set inherited to continue kind_()
		return inherited & " that swims"
	end kind_
end script

-- Streams whose tail is made when somebody looks.
on streamFrom(n)
	script
		property head : n
		on tail()
			streamFrom(n + 1)
		end tail
	end script
end streamFrom

on sieveStream(s)
	script
		property head : s's head
		on tail()
			set p to head
			script notMultiple
				on |apply|(x)
					return x mod p ≠ 0
				end |apply|
			end script
			return sieveStream(filterStream(notMultiple, s's tail()))
		end tail
	end script
end sieveStream

on filterStream(f, s)
	repeat until f's |apply|(s's head)
		set s to s's tail()
	end repeat
	script
		property head : s's head
		on tail()
			return filterStream(f, s's tail())
		end tail
	end script
end filterStream

script ClosureSuite
	property title : "closures"

	on runTests(t)
		t's same({"a", "b"}, drain(iterate({"a", "b"})), "iterate")
		t's same({}, drain(iterate({})), "iterate over nothing")
		set evens to filteredBy(countFrom(1), fnFrom(isEven))
		t's same({2, 4, 6}, takeFrom(3, evens), "the first even numbers")
		t's same({8, 10}, takeFrom(2, evens), "and the next")
		t's same({2, 4, 6}, takeFrom(3, mappedBy(countFrom(1), doubled)), "mapped")
		t's same({1, 2, 3, 4}, drain(chained({iterate({1}), iterate({}), iterate({2, 3, 4})})), "chained")
		script pastTheEnd
			nextValue() of chained({})
		end script
		t's raises(8001, pastTheEnd, "past the end")

		set ann to openAccount("Ann", 100)
		set bob to openAccount("Bob", 10)
		ann's deposit(50)'s withdraw(30)
		t's same({120, 10}, {balance of ann, bob's balance}, "two accounts")
		t's same({50, -30}, ann's history, "history")
		script tooMuch
			bob's withdraw(11)
		end script
		t's raisesText("Bob has only 10.", tooMuch, "too much")
		set cy to openSavings("Cy", 1000, 0.5)
		cy's addInterest()
		t's same(1500.0, cy's balance, "an inherited property")
		cy's withdraw(500)
		t's same(1000.0, cy's balance, "continue")
		script tooMuchAtOnce
			cy's withdraw(501)
		end script
		t's raises(8003, tooMuchAtOnce, "the heir's own rule")
		t's same("Cy", owner of cy, "an inherited property, by of")
		set balance of cy to 7
		t's same(7, cy's balance, "an inherited property can be set")

		script slowSquare
			on |apply|(x)
				return x * x
			end |apply|
		end script
		set quick to memoized(slowSquare)
		t's same({4, 9, 4, 4}, map(quick, {2, 3, 2, 2}), "memo")
		t's same(2, quick's calls, "asked only twice")

		script logger
			property entries_ : {}
			on valueChanged(oldValue, newValue)
				set end of entries_ to {oldValue, newValue}
			end valueChanged
		end script
		set subject_ to newSubject(1)
		subject_'s subscribe(logger)
		subject_'s subscribe(logger)
		t's same({2, 0, 2}, {subject_'s change(2), subject_'s change(2), subject_'s change("x")}, "observers told")
		t's same({{1, 2}, {1, 2}, {2, "x"}, {2, "x"}}, logger's entries_, "what they saw")

		set door to newMachine("closed", {{"closed", "open", "opened"}, {"opened", "close", "closed"}, {"closed", "lock", "locked"}, {"locked", "unlock", "closed"}})
		set moved to {}
		repeat with e in {"open", "lock", "close", "lock", "open", "unlock"}
			set end of moved to door's handle(contents of e)
		end repeat
		t's same({true, false, true, true, false, true}, moved, "transitions")
		t's same({"closed", "opened", "closed", "locked", "closed"}, trace of door, "trace")

		t's same("an animal with 4 legs says …", Animal's describe_(), "the first of the line")
		t's same("a bird with 2 legs says tweet", Bird's describe_(), "its heir")
		t's same("a bird that swims with 2 legs says honk", Penguin's describe_(), "the heir's heir")
		t's same("flaps, then moves 6", Penguin's move_(3), "a chain of continue")

		t's same({2, 3, 5, 7, 11, 13}, headsOf(6, sieveStream(streamFrom(2))), "a stream of primes")

		t's same({1, 2, 3}, collectWith({1, 2, 3}), "collecting into a property")

		-- scripts compare by identity
		set one to openAccount("A", 1)
		set two to openAccount("A", 1)
		set three to one
		t's truth(one is three, "a script is itself")
		t's falsehood(one is two, "and no other")
		copy one to four
		four's deposit(1)
		t's same({1, 2}, {one's balance, four's balance}, "copy makes another")
	end runTests

	on headsOf(n, s)
		set heads to {}
		repeat n times
			set end of heads to s's head
			set s to s's tail()
		end repeat
		return heads
	end headsOf

	on collectWith(xs)
		script collector
			property found : {}
			on visit(x)
				set end of my found to x
			end visit
		end script
		repeat with x in xs
			tell collector to visit(contents of x)
		end repeat
		return found of collector
	end collectWith
end script
