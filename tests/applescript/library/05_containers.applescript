(* Containers: each maker answers with a script object that holds its values in properties.
   (* They nest: a stack of queues is fine. *)
*)

ON newStack()
	SCRIPT StackObject
		PROPERTY values_ : {}
		ON push(v)
			SET BEGINNING OF my values_ TO v
			RETURN me
		END push
		ON pop()
			IF values_ IS {} THEN ERROR "The stack is empty." NUMBER 2001
			SET v TO FIRST ITEM OF values_
			SET values_ TO REST OF values_
			RETURN v
		END pop
		ON peek()
			IF (COUNT values_) = 0 THEN RETURN MISSING VALUE
			RETURN ITEM 1 OF values_
		END peek
		ON depth()
			RETURN LENGTH OF values_
		END depth
		ON isEmpty()
			RETURN values_ = {}
		END isEmpty
	END SCRIPT
	RETURN StackObject
END newStack

on newQueue()
	-- Two lists: what comes in goes to the one, what goes out comes from the other.
	script QueueObject
		property arrivals : {}
		property departures : {}
		on enqueue(v)
			set beginning of arrivals to v
		end enqueue
		on dequeue()
			if departures is {} then
				set departures to reverse of arrivals
				set arrivals to {}
			end if
			if departures is {} then error "The queue is empty." number 2002
			set v to item 1 of departures
			set departures to rest of departures
			return v
		end dequeue
		on waiting()
			return (length of arrivals) + (length of departures)
		end waiting
		on inOrder()
			return departures & reverse of arrivals
		end inOrder
	end script
	return QueueObject
end newQueue

-- A set remembers each value once. It tells values apart as "=" does.
on newSet(firstValues)
	script SetObject
		property members : {}
		on add(v)
			if not has(v) then set end of members to v
			return me
		end add
		on has(v)
			return members contains {v}
		end has
		on discard(v)
			set remaining to {}
			repeat with m in members
				if contents of m is not v then set end of remaining to contents of m
			end repeat
			set members to remaining
			return me
		end discard
		on cardinality()
			return count of members
		end cardinality
		on union(other)
			set both to newSet(members)
			repeat with m in other's members
				both's add(contents of m)
			end repeat
			return both
		end union
		on intersection(other)
			set common to newSet({})
			repeat with m in my members
				if other's has(contents of m) then common's add(contents of m)
			end repeat
			return common
		end intersection
		on equals_(other)
			return cardinality() = other's cardinality() and cardinality() = intersection(other)'s cardinality()
		end equals_
	end script
	repeat with v in firstValues
		SetObject's add(contents of v)
	end repeat
	return SetObject
end newSet

-- A dictionary as an association list, for keys of any class.
on newDictionary()
	script DictionaryObject
		property keys_ : {}
		property values_ : {}

		on placeOf(k)
			repeat with i from 1 to length of keys_
				if item i of keys_ = k then return i
			end repeat
			return 0
		end placeOf

		on putValue(k, v)
			set i to placeOf(k)
			if i = 0 then
				set end of keys_ to k
				set end of values_ to v
			else
				set item i of values_ to v
			end if
		end putValue

		on valueFor(k)
			set i to placeOf(k)
			if i = 0 then error "No value for “" & k & "”." number 2003 from k
			return item i of values_
		end valueFor

		on valueOr(k, otherwise)
			try
				return valueFor(k)
			on error number 2003
				return otherwise
			end try
		end valueOr

		on hasKey(k)
			return placeOf(k) > 0
		end hasKey

		on removeKey(k)
			set i to placeOf(k)
			if i = 0 then return false
			set keys_ to removeAt(i, keys_)
			set values_ to removeAt(i, values_)
			return true
		end removeKey

		on increment(k)
			putValue(k, valueOr(k, 0) + 1)
		end increment

		on entries()
			set found to {}
			repeat with i from 1 to length of keys_
				set end of found to {item i of keys_, item i of values_}
			end repeat
			return found
		end entries

		on doForEach(visitor)
			repeat with i from 1 to count keys_
				visitor's visit(item i of keys_, item i of values_)
			end repeat
		end doForEach
	end script
	return DictionaryObject
end newDictionary

-- A dictionary that tells "a" and "A" apart: it takes everything over and changes one handler.
on newCaseSensitiveDictionary()
	script CaseSensitive
		property parent : newDictionary()
		on placeOf(k)
			considering case
				repeat with i from 1 to length of my keys_
					if item i of my keys_ = k then return i
				end repeat
			end considering
			return 0
		end placeOf
	end script
	return CaseSensitive
end newCaseSensitiveDictionary

-- A priority queue on a binary heap; smallest priority first.
on newPriorityQueue()
	script PriorityQueueObject
		property heap_ : {}

		on add(priority, v)
			set end of heap_ to {priority, v}
			set i to length of heap_
			repeat while i > 1
				set up_ to i div 2
				if item 1 of item up_ of heap_ ≤ item 1 of item i of heap_ then exit repeat
				exchange(i, up_)
				set i to up_
			end repeat
		end add

		on takeNext()
			if heap_ = {} then error "The queue is empty." number 2002
			set {priority, v} to item 1 of heap_
			set n to length of heap_
			if n = 1 then
				set heap_ to {}
				return v
			end if
			set item 1 of heap_ to item n of heap_
			set heap_ to items 1 thru (n - 1) of heap_
			sink(1)
			return v
		end takeNext

		on sink(i)
			set n to length of heap_
			repeat
				set least to i
				repeat with j in {2 * i, 2 * i + 1}
					if j ≤ n then
						if item 1 of item j of heap_ < item 1 of item least of heap_ then set least to j as integer
					end if
				end repeat
				if least = i then return
				exchange(i, least)
				set i to least
			end repeat
		end sink

		on exchange(i, j)
			set {item i of heap_, item j of heap_} to {item j of heap_, item i of heap_}
		end exchange

		on hasMore()
			return heap_ is not {}
		end hasMore
	end script
	return PriorityQueueObject
end newPriorityQueue

-- A linked list of records, with a cursor.
on newLinkedList()
	script LinkedList
		property head_ : missing value
		property total_ : 0
		on prepend(v)
			set head_ to {value:v, nextOne:head_}
			set total_ to total_ + 1
			return me
		end prepend
		on toList()
			set found to {}
			set cursor to head_
			repeat until cursor is missing value
				set end of found to value of cursor
				set cursor to nextOne of cursor
			end repeat
			return found
		end toList
		on turnRound()
			set turned to missing value
			set cursor to head_
			repeat while cursor is not missing value
				set turned to {value:cursor's value, nextOne:turned}
				set cursor to cursor's nextOne
			end repeat
			set head_ to turned
			return me
		end turnRound
	end script
end newLinkedList

-- A binary search tree whose nodes are script objects.
on newTree()
	script TreeObject
		property root_ : missing value
		property size_ : 0

		on newNode(k)
			script NodeObject
				property key_ : k
				property low : missing value
				property high : missing value
			end script
			return NodeObject
		end newNode

		on insert_(k)
			if root_ is missing value then
				set root_ to newNode(k)
				set size_ to 1
				return true
			end if
			set node to root_
			repeat
				if k = node's key_ then return false
				if k < node's key_ then
					if node's low is missing value then
						set node's low to newNode(k)
						exit repeat
					end if
					set node to node's low
				else
					if high of node is missing value then
						set high of node to newNode(k)
						exit repeat
					end if
					set node to high of node
				end if
			end repeat
			set size_ to size_ + 1
			return true
		end insert_

		on walk(node)
			if node is missing value then return {}
			return walk(node's low) & {node's key_} & walk(node's high)
		end walk

		on inOrder()
			return walk(root_)
		end inOrder

		on height(node)
			if node is missing value then return 0
			set {l, h} to {height(node's low), height(node's high)}
			if l > h then return l + 1
			return h + 1
		end height

		on has(k)
			set node to root_
			repeat until node is missing value
				if k = node's key_ then return true
				if k < node's key_ then
					set node to node's low
				else
					set node to node's high
				end if
			end repeat
			return false
		end has
	end script
	return TreeObject
end newTree

-- Keeps the values that were used last.
on newCache(limit)
	script CacheObject
		property recent : {} -- {key, value}, latest first
		property hits : 0
		property misses : 0
		on lookUp(k, maker)
			repeat with i from 1 to length of recent
				if item 1 of item i of recent is k then
					set hits to hits + 1
					set entry to item i of recent
					set recent to {entry} & removeAt(i, recent)
					return item 2 of entry
				end if
			end repeat
			set misses to misses + 1
			set v to maker's makeValue(k)
			set recent to {{k, v}} & recent
			if length of recent > limit then set recent to items 1 thru limit of recent
			return v
		end lookUp
	end script
	return CacheObject
end newCache

-- A ring of fixed length that forgets the oldest.
on newRing(capacity_)
	script RingObject
		property slots : {}
		property nextSlot : 1
		property filled : 0
		on add(v)
			set item nextSlot of slots to v
			set nextSlot to nextSlot mod capacity_ + 1
			if filled < capacity_ then set filled to filled + 1
		end add
		on toList()
			set found to {}
			repeat with i from filled to 1 by -1
				set end of found to item ((nextSlot - i - 1 + capacity_) mod capacity_ + 1) of slots
			end repeat
			return found
		end toList
	end script
	repeat capacity_ times
		set end of RingObject's slots to missing value
	end repeat
	return RingObject
end newRing

script ContainerSuite
	property title : "containers"
	on runTests(t)
		-- stack
		set s to newStack()
		t's truth(s's isEmpty(), "a new stack is empty")
		s's push(1)
		s's push({2})
		tell s
			push("three")
			t's same(3, depth(), "depth")
			t's same("three", peek(), "peek")
			t's same("three", pop(), "pop")
			t's same({2}, pop(), "pop a list")
		end tell
		t's same(1, pop() of s, "pop the last")
		t's same(missing value, s's peek(), "peek at nothing")
		script popEmpty
			newStack()'s pop()
		end script
		t's raises(2001, popEmpty, "pop from nothing")
		t's same("b", newStack()'s push("a")'s push("b")'s peek(), "calls in a row")
		set {s1, s2} to {newStack(), newStack()}
		s1's push(1)
		t's same(0, s2's depth(), "two stacks share nothing")

		-- queue
		set q to newQueue()
		repeat with i from 1 to 5
			q's enqueue(i)
		end repeat
		t's same(1, q's dequeue(), "first in, first out")
		q's enqueue(6)
		t's same({2, 3, 4, 5, 6}, q's inOrder(), "in order")
		t's same(5, q's waiting(), "waiting")
		repeat 5 times
			set lastOne to q's dequeue()
		end repeat
		t's same(6, lastOne, "last out")
		script dequeueEmpty
			tell newQueue() to dequeue()
		end script
		t's raises(2002, dequeueEmpty, "dequeue from nothing")

		-- set
		set a to newSet({1, 2, 2, 3})
		set b to newSet({3, 4, {5}})
		t's same(3, a's cardinality(), "a value once")
		t's truth(b's has({5}), "a list in a set")
		t's falsehood(b's has(5), "not its item")
		t's same({1, 2, 3, 4, {5}}, (a's union(b))'s members, "union")
		t's same({3}, members of a's intersection(b), "intersection")
		t's truth(newSet({1, 2})'s equals_(newSet({2, 1})), "equal sets")
		t's falsehood(a's equals_(b), "unequal sets")
		t's same({1, 3}, a's discard(2)'s members, "discard")

		-- dictionary
		set d to newDictionary()
		d's putValue("one", 1)
		d's putValue({2}, "two")
		d's putValue("ONE", "eins")
		t's same("eins", d's valueFor("one"), "keys ignore case")
		t's same("two", d's valueFor({2}), "a list as a key")
		t's same(2, length of d's keys_, "two keys")
		t's same("none", d's valueOr("three", "none"), "a value for want of another")
		script noKey
			newDictionary()'s valueFor("x")
		end script
		t's raisesText("No value for “x”.", noKey, "no such key")
		try
			d's valueFor("seven")
		on error problem number n from culprit
			t's same({2003, "seven"}, {n, culprit}, "the error tells the key")
		end try
		t's truth(d's removeKey({2}), "remove")
		t's falsehood(d's removeKey({2}), "remove again")
		t's same({{"one", "eins"}}, d's entries(), "entries")
		set tallies to newDictionary()
		repeat with w in words of "the cat and the dog and the bird"
			tallies's increment(contents of w)
		end repeat
		t's same({{"the", 3}, {"cat", 1}, {"and", 2}, {"dog", 1}, {"bird", 1}}, tallies's entries(), "counting words")
		script collector
			property seen : ""
			on visit(k, v)
				set seen to seen & k & v & ";"
			end visit
		end script
		tallies's doForEach(collector)
		t's same("the3;cat1;and2;dog1;bird1;", collector's seen, "a visitor")
		set strict_ to newCaseSensitiveDictionary()
		strict_'s putValue("a", 1)
		strict_'s putValue("A", 2)
		t's same({{"a", 1}, {"A", 2}}, strict_'s entries(), "an heir that considers case")
		t's truth(strict_'s hasKey("A"), "an inherited handler calls the heir's")
		t's falsehood(newDictionary()'s hasKey("A"), "and the heir's values are its own")

		-- priority queue
		set pq to newPriorityQueue()
		repeat with p in {5, 3, 8, 1, 9, 2, 7}
			pq's add(contents of p, "p" & p)
		end repeat
		set taken to {}
		repeat while pq's hasMore()
			set end of taken to pq's takeNext()
		end repeat
		t's same({"p1", "p2", "p3", "p5", "p7", "p8", "p9"}, taken, "by priority")

		-- linked list
		set l to newLinkedList()
		l's prepend(3)'s prepend(2)'s prepend(1)
		t's same({1, 2, 3}, l's toList(), "linked list")
		t's same({3, 2, 1}, toList() of l's turnRound(), "turned round")
		t's same(3, l's total_, "length of a linked list")

		-- tree
		set tree to newTree()
		repeat with k in {50, 30, 70, 20, 40, 60, 80, 30}
			tree's insert_(contents of k)
		end repeat
		t's same({20, 30, 40, 50, 60, 70, 80}, tree's inOrder(), "in order")
		t's same(7, tree's size_, "no duplicates")
		t's same(3, tree's height(tree's root_), "height")
		t's truth(tree's has(60), "in the tree")
		t's falsehood(tree's has(65), "not in the tree")
		t's same({}, newTree()'s inOrder(), "an empty tree")

		-- cache
		script squares
			property made : {}
			on makeValue(k)
				set end of made to k
				return k * k
			end makeValue
		end script
		set cache_ to newCache(2)
		set answers to {}
		repeat with k in {2, 3, 2, 4, 3, 2}
			set end of answers to cache_'s lookUp(contents of k, squares)
		end repeat
		t's same({4, 9, 4, 16, 9, 4}, answers, "answers of a cache")
		t's same({1, 5}, {cache_'s hits, cache_'s misses}, "hits and misses")
		t's same({2, 3, 4, 3, 2}, made of squares, "what was made")

		-- ring
		set ring to newRing(3)
		t's same({}, ring's toList(), "an empty ring")
		ring's add("a")
		ring's add("b")
		t's same({"a", "b"}, ring's toList(), "a ring that is not full")
		ring's add("c")
		ring's add("d")
		t's same({"b", "c", "d"}, ring's toList(), "a ring forgets the oldest")
	end runTests
end script
