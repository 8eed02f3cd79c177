-- Puzzles and graphs: what people write on rainy days.

on hanoi(n, fromPeg, toPeg, viaPeg)
	if n = 0 then return {}
	return hanoi(n - 1, fromPeg, viaPeg, toPeg) & {fromPeg & toPeg} & hanoi(n - 1, viaPeg, toPeg, fromPeg)
end hanoi

on queens(n)
	script board
		property solutions : {}
		on place(rowNumber, columns_)
			if rowNumber > n then
				set end of solutions to columns_
				return
			end if
			repeat with c from 1 to n
				if isSafe(rowNumber, c, columns_) then place(rowNumber + 1, columns_ & c)
			end repeat
		end place
		on isSafe(rowNumber, c, columns_)
			repeat with r from 1 to length of columns_
				set other to item r of columns_
				if other = c then return false
				if other - c = rowNumber - r or c - other = rowNumber - r then return false
			end repeat
			return true
		end isSafe
	end script
	board's place(1, {})
	return board's solutions
end queens

on lifeStep(cells)
	set h to length of cells
	set w to length of item 1 of cells
	set nextCells to {}
	repeat with r from 1 to h
		set aRow to {}
		repeat with c from 1 to w
			set neighbours to 0
			repeat with dr from -1 to 1
				repeat with dc from -1 to 1
					if not (dr = 0 and dc = 0) then
						set {rr, cc} to {r + dr, c + dc}
						if rr ≥ 1 and rr ≤ h and cc ≥ 1 and cc ≤ w then
							set neighbours to neighbours + (item cc of item rr of cells)
						end if
					end if
				end repeat
			end repeat
			if neighbours = 3 or (neighbours = 2 and item c of item r of cells = 1) then
				set end of aRow to 1
			else
				set end of aRow to 0
			end if
		end repeat
		set end of nextCells to aRow
	end repeat
	return nextCells
end lifeStep

on fizzBuzz(n)
	set lines_ to {}
	repeat with i from 1 to n
		if i mod 15 = 0 then
			set end of lines_ to "FizzBuzz"
		else if i mod 3 = 0 then
			set end of lines_ to "Fizz"
		else if i mod 5 = 0 then
			set end of lines_ to "Buzz"
		else
			set end of lines_ to i
		end if
	end repeat
	return lines_
end fizzBuzz

on longestCommonSubsequence(a, b)
	set {m, n} to {length of a, length of b}
	set table_ to {}
	repeat m + 1 times
		set aRow to {}
		repeat n + 1 times
			set end of aRow to 0
		end repeat
		set end of table_ to aRow
	end repeat
	repeat with i from 1 to m
		repeat with j from 1 to n
			if character i of a = character j of b then
				set item (j + 1) of item (i + 1) of table_ to (item j of item i of table_) + 1
			else
				set {up_, left_} to {item (j + 1) of item i of table_, item j of item (i + 1) of table_}
				if up_ > left_ then
					set item (j + 1) of item (i + 1) of table_ to up_
				else
					set item (j + 1) of item (i + 1) of table_ to left_
				end if
			end if
		end repeat
	end repeat
	-- walk back
	set found to ""
	set {i, j} to {m, n}
	repeat while i > 0 and j > 0
		if character i of a = character j of b then
			set found to character i of a & found
			set {i, j} to {i - 1, j - 1}
		else if item (j + 1) of item i of table_ ≥ item j of item (i + 1) of table_ then
			set i to i - 1
		else
			set j to j - 1
		end if
	end repeat
	return found
end longestCommonSubsequence

on knapsack(things, room)
	-- things: {weight, worth}; best.item(w + 1) is the best worth for the weight w
	set best to {}
	repeat room + 1 times
		set end of best to 0
	end repeat
	repeat with aThing in things
		set {weight, worth} to aThing
		repeat with w from room to weight by -1
			set candidate to (item (w - weight + 1) of best) + worth
			if candidate > item (w + 1) of best then set item (w + 1) of best to candidate
		end repeat
	end repeat
	return last item of best
end knapsack

on changeWays(amount, coins)
	if amount = 0 then return 1
	if amount < 0 or coins = {} then return 0
	return changeWays(amount - (item 1 of coins), coins) + changeWays(amount, rest of coins)
end changeWays

-- Roads: {from, to, length}; both ways. {distance, {places}}
on shortestWay(roads, source, goal)
	set distances to newDictionary()
	set cameFrom to newDictionary()
	set waiting to newPriorityQueue()
	distances's putValue(source, 0)
	waiting's add(0, source)
	repeat while waiting's hasMore()
		set here to waiting's takeNext()
		if here = goal then
			set way to {goal}
			repeat until item 1 of way = source
				set beginning of way to cameFrom's valueFor(item 1 of way)
			end repeat
			return {distances's valueFor(goal), way}
		end if
		repeat with aRoad in roads
			set {p, q, roadLength} to contents of aRoad
			if q = here then set {p, q} to {q, p}
			if p = here then
				set d to (distances's valueFor(here)) + roadLength
				if d < distances's valueOr(q, 1.0E+9) then
					distances's putValue(q, d)
					cameFrom's putValue(q, here)
					waiting's add(d, q)
				end if
			end if
		end repeat
	end repeat
	error "No way from " & source & " to " & goal & "." number 9101
end shortestWay

on topologicalOrder(pairs)
	set {order_, marked, underway} to {{}, newSet({}), newSet({})}
	script walker
		on visit(v)
			if marked's has(v) then return
			if underway's has(v) then error "A circle at " & v & "." number 9102
			underway's add(v)
			repeat with p in pairs
				if item 1 of p is v then visit(item 2 of p)
			end repeat
			marked's add(v)
			set beginning of order_ to v
		end visit
	end script
	repeat with p in pairs
		walker's visit(item 1 of p)
	end repeat
	return order_
end topologicalOrder

on floodFill(grid, r, c, v)
	set old to item c of item r of grid
	if old = v then return grid
	set waiting to {{r, c}}
	repeat until waiting is {}
		set {r, c} to item 1 of waiting
		set waiting to rest of waiting
		if r ≥ 1 and r ≤ (count grid) and c ≥ 1 then
			if c ≤ (count item r of grid) then
				if item c of item r of grid = old then
					set item c of item r of grid to v
					set waiting to waiting & {{r - 1, c}, {r + 1, c}, {r, c - 1}, {r, c + 1}}
				end if
			end if
		end if
	end repeat
	return grid
end floodFill

on spiral(n)
	set grid to {}
	repeat n times
		set aRow to {}
		repeat n times
			set end of aRow to 0
		end repeat
		set end of grid to aRow
	end repeat
	set {r, c, dr, dc} to {1, 1, 0, 1}
	repeat with k from 1 to n * n
		set item c of item r of grid to k
		set {rr, cc} to {r + dr, c + dc}
		set turn to rr < 1 or rr > n or cc < 1 or cc > n
		if not turn then set turn to item cc of item rr of grid ≠ 0
		if turn then set {dr, dc} to {dc, -dr}
		set {r, c} to {r + dr, c + dc}
	end repeat
	return grid
end spiral

on lookAndSay(s)
	set told to ""
	repeat with aRun in runLengths(s)
		set told to told & item 2 of aRun & item 1 of aRun
	end repeat
	return told
end lookAndSay

on bitwiseXor(a, b)
	set {x, bit} to {0, 1}
	repeat while a > 0 or b > 0
		if a mod 2 ≠ b mod 2 then set x to x + bit
		set {a, b, bit} to {a div 2, b div 2, bit * 2}
	end repeat
	return x
end bitwiseXor

-- Adler's checksum of the codes of a text.
on adlerSum(s)
	set {a, b} to {1, 0}
	repeat with c in characters of s
		set a to (a + (id of c)) mod 65521
		set b to (b + a) mod 65521
	end repeat
	return {b, a}
end adlerSum

on wordCounts(s)
	set counted to newDictionary()
	repeat with w in words of lowerCased(s)
		counted's increment(w as text)
	end repeat
	script byCount
		on comesFirst(a, b)
			if item 2 of a ≠ item 2 of b then return item 2 of a > item 2 of b
			return item 1 of a < item 1 of b
		end comesFirst
	end script
	return SortKit's quickSort(counted's entries(), byCount)
end wordCounts

on anagramGroups(theWords)
	script letters
		on |apply|(w)
			return joinTexts(SortKit's insertionSort(characters of w, UpwardOrder), "")
		end |apply|
	end script
	set found to {}
	repeat with g in groupBy(letters, theWords)
		set end of found to item 2 of g
	end repeat
	return found
end anagramGroups

-- A small stack machine: numbers are pushed, words do something.
on runForth(source)
	set s to newStack()
	set vocabulary to newDictionary()
	script interpreter_
		on execute(tokens_)
			set k to 1
			repeat while k ≤ (count tokens_)
				set w to item k of tokens_
				if vocabulary's hasKey(w) then
					execute(vocabulary's valueFor(w))
				else if w is "dup" then
					s's push(s's peek())
				else if w is "drop" then
					s's pop()
				else if w is "swap" then
					set {b, a} to {s's pop(), s's pop()}
					s's push(b)
					s's push(a)
				else if w is "+" then
					s's push((s's pop()) + (s's pop()))
				else if w is "*" then
					s's push((s's pop()) * (s's pop()))
				else if w is ":" then
					set newName to item (k + 1) of tokens_
					set definition to {}
					set k to k + 2
					repeat until item k of tokens_ is ";"
						set end of definition to item k of tokens_
						set k to k + 1
					end repeat
					vocabulary's putValue(newName, definition)
				else
					try
						s's push(w as integer)
					on error number -1700
						error "Unknown word: " & w number 9103
					end try
				end if
				set k to k + 1
			end repeat
		end execute
	end script
	interpreter_'s execute(words_(source))
	return reverse of s's values_
end runForth

on words_(s)
	set found to {}
	repeat with w in splitText(s, {space, tab, linefeed})
		if contents of w is not "" then set end of found to contents of w
	end repeat
	return found
end words_

script AlgorithmSuite
	property title : "algorithms"

	on runTests(t)
		t's same({"AB", "AC", "BC", "AB", "CA", "CB", "AB"}, hanoi(3, "A", "B", "C"), "Hanoi")
		t's same(127, length of hanoi(7, "a", "b", "c"), "Hanoi, moves")
		t's same({{2, 4, 1, 3}, {3, 1, 4, 2}}, queens(4), "four queens")
		t's same(10, length of queens(5), "five queens")
		set blinker to {{0, 0, 0}, {1, 1, 1}, {0, 0, 0}}
		t's same({{0, 1, 0}, {0, 1, 0}, {0, 1, 0}}, lifeStep(blinker), "life")
		t's same(blinker, lifeStep(lifeStep(blinker)), "life, twice")
		t's same({1, 2, "Fizz", 4, "Buzz", "Fizz", 7, 8, "Fizz", "Buzz", 11, "Fizz", 13, 14, "FizzBuzz"}, fizzBuzz(15), "FizzBuzz")
		t's same("bcd", longestCommonSubsequence("abxcd", "bcyd"), "common subsequence")
		t's same("", longestCommonSubsequence("", "abc"), "common subsequence with nothing")
		t's same(220, knapsack({{10, 60}, {20, 100}, {30, 120}}, 50), "knapsack")
		t's same(13, changeWays(25, {10, 5, 1}) + 1, "ways to give change")

		set roads to {{"a", "b", 7}, {"a", "c", 9}, {"a", "f", 14}, {"b", "c", 10}, {"b", "d", 15}, {"c", "d", 11}, {"c", "f", 2}, {"d", "e", 6}, {"e", "f", 9}}
		t's same({20, {"a", "c", "f", "e"}}, shortestWay(roads, "a", "e"), "the shortest way")
		t's same({0, {"a"}}, shortestWay(roads, "a", "a"), "the way to where one is")
		script noWay
			shortestWay(roads, "a", "z")
		end script
		t's raisesText("No way from a to z.", noWay, "no way")

		set sorted_ to topologicalOrder({{"shirt", "tie"}, {"tie", "jacket"}, {"trousers", "shoes"}, {"trousers", "belt"}, {"belt", "jacket"}, {"socks", "shoes"}})
		t's truth(indexOf("tie", sorted_) < indexOf("jacket", sorted_), "tie before jacket")
		t's truth(indexOf("socks", sorted_) < indexOf("shoes", sorted_), "socks before shoes")
		t's same(7, count of sorted_, "everything once")
		script circle
			topologicalOrder({{1, 2}, {2, 3}, {3, 1}})
		end script
		t's raises(9102, circle, "a circle")

		t's same({{2, 2, 0}, {0, 2, 0}, {1, 0, 1}}, floodFill({{1, 1, 0}, {0, 1, 0}, {1, 0, 1}}, 1, 1, 2), "flood fill, but not across a corner")
		t's same({{1, 2, 3}, {8, 9, 4}, {7, 6, 5}}, spiral(3), "spiral")
		set s to "1"
		repeat 5 times
			set s to lookAndSay(s)
		end repeat
		t's same("312211", s, "look and say")
		t's same(6, bitwiseXor(5, 3), "exclusive or")
		t's same({294, 196}, adlerSum("ab"), "checksum")

		t's same({{"the", 3}, {"cat", 2}, {"and", 1}, {"dog", 1}}, wordCounts("The cat and the dog, the Cat."), "word counts")
		t's same({{"tea", "eat", "ate"}, {"tan", "nat"}, {"bat"}}, anagramGroups({"tea", "tan", "eat", "bat", "ate", "nat"}), "anagrams")

		t's same({25, 7}, runForth(": square dup * ; 5 square 3 4 +"), "a stack machine")
		t's same({2, 1}, runForth("1 2 swap"), "swap")
		script unknownWord
			runForth("1 2 wibble")
		end script
		t's raisesText("Unknown word: wibble", unknownWord, "an unknown word")
	end runTests
end script
