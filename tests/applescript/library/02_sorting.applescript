-- Sorting. Every handler takes a list and an order: a script object whose comesFirst(a, b) says whether a
-- belongs before b. The handlers leave the list that they are given as it is and answer with a new one,
-- unless their name ends in "InPlace".

script UpwardOrder
	on comesFirst(a, b)
		return a < b
	end comesFirst
end script

script DownwardOrder
	on comesFirst(a, b)
		return a > b
	end comesFirst
end script

script ShorterFirst
	on comesFirst(a, b)
		return (length of a) < (length of b)
	end comesFirst
end script

-- Another order turned round.
on reversedOrder(innerOrder)
	script TurnedRound
		property original : innerOrder
		on comesFirst(a, b)
			return original's comesFirst(b, a)
		end comesFirst
	end script
	return TurnedRound
end reversedOrder

-- First by one order, and where that leaves two values equal, by another.
on orderThen(firstOrder, secondOrder)
	script BothOrders
		on comesFirst(a, b)
			if firstOrder's comesFirst(a, b) then return true
			if firstOrder's comesFirst(b, a) then return false
			return secondOrder's comesFirst(a, b)
		end comesFirst
	end script
	return BothOrders
end orderThen

-- By what a function (a script object with valueOf) makes of each value.
on orderByValue(keyMaker)
	script ByValue
		on comesFirst(a, b)
			return (keyMaker's valueOf(a)) < (keyMaker's valueOf(b))
		end comesFirst
	end script
	return ByValue
end orderByValue

script SortKit

	-- Insertion sort: stable, quick for what is nearly sorted.
	on insertionSort(theItems, order)
		copy theItems to xs
		repeat with i from 2 to length of xs
			set v to item i of xs
			set j to i - 1
			repeat while j > 0
				if not order's comesFirst(v, item j of xs) then exit repeat
				set item (j + 1) of xs to item j of xs
				set j to j - 1
			end repeat
			set item (j + 1) of xs to v
		end repeat
		return xs
	end insertionSort

	on selectionSort(theItems, order)
		copy theItems to xs
		set n to count of xs
		repeat with i from 1 to n - 1
			set best to i
			repeat with j from (i + 1) to n
				if order's comesFirst(item j of xs, item best of xs) then set best to j
			end repeat
			if best ≠ i then
				set {item i of xs, item best of xs} to {item best of xs, item i of xs}
			end if
		end repeat
		return xs
	end selectionSort

	on bubbleSort(theItems, order)
		copy theItems to xs
		set lastPlace to (count xs) - 1
		set swapped to true
		repeat until not swapped
			set swapped to false
			repeat with i from 1 to lastPlace
				if order's comesFirst(item (i + 1) of xs, item i of xs) then
					set held to item i of xs
					set item i of xs to item (i + 1) of xs
					set item (i + 1) of xs to held
					set swapped to true
				end if
			end repeat
			set lastPlace to lastPlace - 1
		end repeat
		xs
	end bubbleSort

	on shellSort(theItems, order)
		copy theItems to xs
		set n to length of xs
		set gap to n div 2
		repeat while gap > 0
			repeat with i from gap + 1 to n
				set v to item i of xs
				set j to i
				repeat while j > gap
					if not order's comesFirst(v, item (j - gap) of xs) then exit repeat
					set item j of xs to item (j - gap) of xs
					set j to j - gap
				end repeat
				set item j of xs to v
			end repeat
			set gap to gap div 2
		end repeat
		return xs
	end shellSort

	-- Merge sort, top down: stable.
	on mergeSort(theItems, order)
		set n to length of theItems
		if n < 2 then return items of theItems
		set half to n div 2
		set lowHalf to mergeSort(items 1 thru half of theItems, order)
		set highHalf to mergeSort(items (half + 1) thru n of theItems, order)
		return mergeTwo(lowHalf, highHalf, order)
	end mergeSort

	on mergeTwo(xs, ys, order)
		set merged to {}
		set {i, j} to {1, 1}
		set {m, n} to {length of xs, length of ys}
		repeat while i ≤ m and j ≤ n
			if order's comesFirst(item j of ys, item i of xs) then
				set end of merged to item j of ys
				set j to j + 1
			else
				set end of merged to item i of xs
				set i to i + 1
			end if
		end repeat
		if i ≤ m then return merged & items i thru m of xs
		if j ≤ n then return merged & items j thru n of ys
		return merged
	end mergeTwo

	-- Merge sort, bottom up, with runs of growing width.
	on mergeSortBottomUp(theItems, order)
		copy theItems to source
		set n to length of source
		set runLength to 1
		repeat while runLength < n
			set target to {}
			set lo to 1
			repeat until lo > n
				set mid to lo + runLength - 1
				if mid ≥ n then
					set target to target & items lo thru n of source
				else
					set hi to lo + 2 * runLength - 1
					if hi > n then set hi to n
					set target to target & mergeTwo(items lo thru mid of source, items (mid + 1) thru hi of source, order)
				end if
				set lo to lo + 2 * runLength
			end repeat
			set source to target
			set runLength to 2 * runLength
		end repeat
		return source
	end mergeSortBottomUp

	-- Quick sort. The list lives in a property of a script object, which is how one keeps access to its
	-- items quick.
	on quickSort(theItems, order)
		script q
			property xs : {}
			on sortRange(lo, hi)
				if lo ≥ hi then return
				set pivot to item ((lo + hi) div 2) of my xs
				set i to lo
				set j to hi
				repeat while i ≤ j
					repeat while order's comesFirst(item i of my xs, pivot)
						set i to i + 1
					end repeat
					repeat while order's comesFirst(pivot, item j of my xs)
						set j to j - 1
					end repeat
					if i ≤ j then
						set tmp to item i of my xs
						set item i of my xs to item j of my xs
						set item j of my xs to tmp
						set i to i + 1
						set j to j - 1
					end if
				end repeat
				sortRange(lo, j)
				sortRange(i, hi)
			end sortRange
		end script
		copy theItems to q's xs
		q's sortRange(1, length of q's xs)
		return q's xs
	end quickSort

	-- Quick sort the functional way.
	on quickSortByParts(theItems, order)
		if (count theItems) < 2 then return theItems
		set pivot to item 1 of theItems
		set {lesser, greater} to {{}, {}}
		repeat with anItem in rest of theItems
			set v to contents of anItem
			if order's comesFirst(v, pivot) then
				set end of lesser to v
			else
				set end of greater to v
			end if
		end repeat
		return quickSortByParts(lesser, order) & {pivot} & quickSortByParts(greater, order)
	end quickSortByParts

	on quickSortInPlace(theItems, order)
		set sorted to quickSort(theItems, order)
		repeat with i from 1 to count sorted
			set item i of theItems to item i of sorted
		end repeat
		return
	end quickSortInPlace

	on heapSort(theItems, order)
		script heap
			property xs : {}
			on sink(topPlace, stopAt)
				set root to topPlace
				repeat while root * 2 ≤ stopAt
					set child to root * 2
					if child < stopAt and order's comesFirst(item child of xs, item (child + 1) of xs) then set child to child + 1
					if not order's comesFirst(item root of xs, item child of xs) then return
					set {item root of xs, item child of xs} to {item child of xs, item root of xs}
					set root to child
				end repeat
			end sink
		end script
		tell heap
			copy theItems to its xs
			set n to length of its xs
			repeat with topPlace from n div 2 to 1 by -1
				its sink(topPlace, n)
			end repeat
			repeat with stopAt from n to 2 by -1
				set {item 1 of its xs, item stopAt of its xs} to {item stopAt of its xs, item 1 of its xs}
				its sink(1, stopAt - 1)
			end repeat
			return its xs
		end tell
	end heapSort

	-- For whole numbers in a known range: no comparisons at all.
	on countingSort(theItems, smallest, greatest)
		set tallies to {}
		repeat (greatest - smallest + 1) times
			set end of tallies to 0
		end repeat
		repeat with x in theItems
			set k to x - smallest + 1
			set item k of tallies to (item k of tallies) + 1
		end repeat
		set sorted to {}
		repeat with k from 1 to count tallies
			repeat (item k of tallies) times
				set end of sorted to k + smallest - 1
			end repeat
		end repeat
		return sorted
	end countingSort

	-- Least significant digit first, for whole numbers from zero.
	on radixSort(theItems)
		set xs to theItems
		set unit to 1
		repeat
			set buckets to {{}, {}, {}, {}, {}, {}, {}, {}, {}, {}}
			set anyLeft to false
			repeat with x in xs
				set v to x div unit
				if v > 0 then set anyLeft to true
				set end of item (v mod 10 + 1) of buckets to contents of x
			end repeat
			set xs to {}
			repeat with b in buckets
				set xs to xs & contents of b
			end repeat
			if not anyLeft then exit repeat
			set unit to unit * 10
		end repeat
		return xs
	end radixSort

	on isSorted(theItems, order)
		repeat with i from 2 to length of theItems
			if order's comesFirst(item i of theItems, item (i - 1) of theItems) then return false
		end repeat
		return true
	end isSorted

	-- Where a value would go so that the list stays sorted, after values that are equal to it.
	on upperBound(theItems, v, order)
		set {lo, hi} to {1, (length of theItems) + 1}
		repeat while lo < hi
			set mid to (lo + hi) div 2
			if order's comesFirst(v, item mid of theItems) then
				set hi to mid
			else
				set lo to mid + 1
			end if
		end repeat
		return lo
	end upperBound

	on insertSorted(theItems, v, order)
		set place to upperBound(theItems, v, order)
		if place is 1 then return {v} & theItems
		if place > length of theItems then return theItems & {v}
		return (items 1 thru (place - 1) of theItems) & {v} & (items place thru -1 of theItems)
	end insertSorted

	-- The k smallest, in order.
	on smallestItems(theItems, k, order)
		set kept to {}
		repeat with x in theItems
			set kept to insertSorted(kept, contents of x, order)
			if (length of kept) > k then set kept to items 1 thru k of kept
		end repeat
		return kept
	end smallestItems

	-- The k-th smallest without sorting everything.
	on quickSelect(theItems, k, order)
		set pivot to item (((length of theItems) + 1) div 2) of theItems
		set {smaller, same, larger} to {{}, {}, {}}
		repeat with x in theItems
			set v to contents of x
			if order's comesFirst(v, pivot) then
				set end of smaller to v
			else if order's comesFirst(pivot, v) then
				set end of larger to v
			else
				set end of same to v
			end if
		end repeat
		if k ≤ length of smaller then return quickSelect(smaller, k, order)
		if k ≤ (length of smaller) + (length of same) then return item 1 of same
		return quickSelect(larger, k - (length of smaller) - (length of same), order)
	end quickSelect
end script

script SortingSuite
	property title : "sorting"

	-- The same numbers every time, from a small linear generator.
	on someNumbers(n, limit)
		set xs to {}
		set seed to 4711
		repeat n times
			set seed to (seed * 421 + 1663) mod 7875
			set end of xs to seed mod limit
		end repeat
		return xs
	end someNumbers

	on runTests(t)
		set samples to {{}, {1}, {2, 1}, {1, 2}, {3, 1, 2}, {5, 5, 5}, {9, 8, 7, 6, 5, 4, 3, 2, 1, 0}, someNumbers(40, 1000), someNumbers(60, 8)}
		repeat with sampleReference in samples
			set xs to contents of sampleReference
			copy xs to before_
			set wanted to SortKit's insertionSort(xs, UpwardOrder)
			t's truth(SortKit's isSorted(wanted, UpwardOrder), "insertion sort sorts")
			t's same(length of xs, length of wanted, "nothing is lost")
			t's same(wanted, SortKit's selectionSort(xs, UpwardOrder), "selection sort")
			t's same(wanted, SortKit's bubbleSort(xs, UpwardOrder), "bubble sort")
			t's same(wanted, SortKit's shellSort(xs, UpwardOrder), "shell sort")
			t's same(wanted, SortKit's mergeSort(xs, UpwardOrder), "merge sort")
			t's same(wanted, SortKit's mergeSortBottomUp(xs, UpwardOrder), "merge sort, bottom up")
			t's same(wanted, SortKit's quickSort(xs, UpwardOrder), "quick sort")
			t's same(wanted, SortKit's quickSortByParts(xs, UpwardOrder), "quick sort by parts")
			t's same(wanted, SortKit's heapSort(xs, UpwardOrder), "heap sort")
			t's same(wanted, SortKit's countingSort(xs, 0, 1000), "counting sort")
			t's same(wanted, SortKit's radixSort(xs), "radix sort")
			t's same(reverse of wanted, SortKit's quickSort(xs, DownwardOrder), "downward")
			t's same(reverse of wanted, SortKit's heapSort(xs, reversedOrder(UpwardOrder)), "turned round")
			t's same(before_, xs, "the list is left as it was")
			if length of xs > 0 then
				set k to (length of xs) div 2 + 1
				t's same(item k of wanted, SortKit's quickSelect(xs, k, UpwardOrder), "the k-th smallest")
				t's same(items 1 thru k of wanted, SortKit's smallestItems(xs, k, UpwardOrder), "the k smallest")
			end if
		end repeat

		set xs to {3, 1, 2}
		set alias_ to xs
		SortKit's quickSortInPlace(xs, UpwardOrder)
		t's same({1, 2, 3}, alias_, "in place means for everyone who shares the list")

		-- stability
		set menuItems to {"pear", "fig", "kiwi", "plum", "date", "nut"}
		t's same({"fig", "nut", "pear", "kiwi", "plum", "date"}, SortKit's mergeSort(menuItems, ShorterFirst), "merge sort is stable")
		t's same({"fig", "nut", "pear", "kiwi", "plum", "date"}, SortKit's insertionSort(menuItems, ShorterFirst), "insertion sort is stable")
		t's same({"fig", "nut", "date", "kiwi", "pear", "plum"}, SortKit's quickSort(menuItems, orderThen(ShorterFirst, UpwardOrder)), "two orders")

		-- records
		set people to {{who:"Ada", born:1815}, {who:"Alan", born:1912}, {who:"Grace", born:1906}, {who:"Blaise", born:1623}}
		script yearOfBirth
			on valueOf(p)
				return born of p
			end valueOf
		end script
		set theNames to {}
		repeat with p in SortKit's mergeSort(people, orderByValue(yearOfBirth))
			set end of theNames to who of p
		end repeat
		t's same({"Blaise", "Ada", "Grace", "Alan"}, theNames, "records by one of their properties")

		-- texts
		t's same({"alpha", "Beta", "gamma"}, SortKit's quickSort({"gamma", "alpha", "Beta"}, UpwardOrder), "texts, ignoring case")

		t's same(3, SortKit's upperBound({1, 2, 3, 4}, 2, UpwardOrder), "upper bound")
		t's same(1, SortKit's upperBound({}, 2, UpwardOrder), "upper bound of nothing")
		t's same({1, 2, 2.5, 3}, SortKit's insertSorted({1, 2, 3}, 2.5, UpwardOrder), "insert into a sorted list")
		t's same({0, 1}, SortKit's insertSorted({1}, 0, UpwardOrder), "insert at the front")
		t's same({1, 9}, SortKit's insertSorted({1}, 9, UpwardOrder), "insert at the back")
		t's falsehood(SortKit's isSorted({2, 1}, UpwardOrder), "not sorted")

		script cannotCompare
			SortKit's quickSort({1, "x", 3}, UpwardOrder)
		end script
		t's raises(-1700, cannotCompare, "what cannot be compared")
	end runTests
end script
