-- Lists, the functional way. A function is either a handler or a script object with a handler |apply|;
-- fnFrom makes the one into the other, so that every handler below takes both.

on fnFrom(f)
if class of f is script then return f
script
property |apply| : f
end script
end fnFrom

on map(f, xs)
tell fnFrom(f)
set ys to {}
repeat with i from 1 to length of xs
set end of ys to |apply|(item i of xs)
end repeat
return ys
end tell
end map

on keep(f, xs)
tell fnFrom(f)
set ys to {}
repeat with i from 1 to length of xs
set v to item i of xs
if |apply|(v) then set end of ys to v
end repeat
return ys
end tell
end keep

on dropWhere(f, xs)
set g to fnFrom(f)
script opposite
on |apply|(v)
return not (g's |apply|(v))
end
end script
return keep(opposite, xs)
end dropWhere

on foldLeft(f, startValue, xs)
tell fnFrom(f)
set acc to startValue
repeat with i from 1 to length of xs
set acc to |apply|(acc, item i of xs)
end repeat
return acc
end tell
end foldLeft

on foldRight(f, startValue, xs)
tell fnFrom(f)
set acc to startValue
repeat with i from length of xs to 1 by -1
set acc to |apply|(item i of xs, acc)
end repeat
return acc
end tell
end foldRight

on scanLeft(f, startValue, xs)
tell fnFrom(f)
set acc to startValue
set steps to {acc}
repeat with i from 1 to length of xs
set acc to |apply|(acc, item i of xs)
set end of steps to acc
end repeat
return steps
end tell
end scanLeft

on anyOf(f, xs)
tell fnFrom(f)
repeat with x in xs
if |apply|(contents of x) then return true
end repeat
end tell
return false
end anyOf

on allOf(f, xs)
tell fnFrom(f)
repeat with x in xs
if not |apply|(contents of x) then return false
end repeat
end tell
return true
end allOf

on firstWhere(f, xs)
tell fnFrom(f)
repeat with x in xs
if |apply|(contents of x) then return contents of x
end repeat
end tell
return missing value
end firstWhere

on indexOf(v, xs)
repeat with i from 1 to count of xs
if item i of xs is v then return i
end repeat
return 0
end indexOf

on lastIndexOf(v, xs)
repeat with i from (count of xs) to 1 by -1
if item i of xs is v then return i
end repeat
return 0
end lastIndexOf

on zipTwo(xs, ys)
set n to length of xs
if length of ys < n then set n to length of ys
set pairs to {}
repeat with i from 1 to n
set end of pairs to {item i of xs, item i of ys}
end repeat
return pairs
end zipTwo

on zipWith(f, xs, ys)
script onPair
property g : fnFrom(f)
on |apply|({x, y})
return g's |apply|(x, y)
end |apply|
end script
return map(onPair, zipTwo(xs, ys))
end zipWith

on unzip(pairs)
set {xs, ys} to {{}, {}}
repeat with p in pairs
set {x, y} to contents of p
set end of xs to x
set end of ys to y
end repeat
return {xs, ys}
end unzip

on rangeOf(lo, hi)
set xs to {}
repeat with i from lo to hi
set end of xs to i
end repeat
xs
end rangeOf

on stepRange(lo, hi, stepSize)
set xs to {}
repeat with i from lo to hi by stepSize
set end of xs to i
end repeat
xs
end stepRange

on takeFirst(n, xs)
if n < 1 then return {}
if n ≥ length of xs then return items of xs
return items 1 thru n of xs
end takeFirst

on dropFirst(n, xs)
if n < 1 then return items of xs
if n ≥ length of xs then return {}
return items (n + 1) thru -1 of xs
end dropFirst

on takeWhile(f, xs)
tell fnFrom(f)
repeat with i from 1 to length of xs
if not |apply|(item i of xs) then return my takeFirst(i - 1, xs)
end repeat
end tell
return xs
end takeWhile

on chunksOf(n, xs)
set chunks to {}
repeat with i from 1 to length of xs by n
set j to i + n - 1
if j > length of xs then set j to length of xs
set end of chunks to items i thru j of xs
end repeat
return chunks
end chunksOf

on windowsOf(n, xs)
set found to {}
repeat with i from 1 to (length of xs) - n + 1
set end of found to items i thru (i + n - 1) of xs
end repeat
return found
end windowsOf

on flatten(xs)
if class of xs is not list then return {xs}
set flat to {}
repeat with x in xs
set flat to flat & flatten(contents of x)
end repeat
return flat
end flatten

on uniqueItems(xs)
set seen to {}
repeat with x in xs
if {contents of x} is not in seen then set end of seen to contents of x
end repeat
return seen
end uniqueItems

on withoutItem(v, xs)
set kept to {}
repeat with x in xs
if contents of x is not v then set end of kept to contents of x
end repeat
return kept
end withoutItem

on removeAt(n, xs)
if n < 1 or n > length of xs then error "No item " & n number -1719
if n = 1 then return rest of xs
if n = length of xs then return items 1 thru -2 of xs
return (items 1 thru (n - 1) of xs) & (items (n + 1) thru -1 of xs)
end removeAt

on insertAt(n, v, xs)
if n ≤ 1 then return {v} & xs
if n > length of xs then return xs & {v}
return (items 1 thru (n - 1) of xs) & {v} & (items n thru -1 of xs)
end insertAt

on swapItems(i, j, xs)
copy xs to ys
set {item i of ys, item j of ys} to {item j of ys, item i of ys}
return ys
end swapItems

on rotateLeft(n, xs)
set m to length of xs
if m = 0 then return {}
set n to n mod m
if n < 0 then set n to n + m
if n = 0 then return xs
return (items (n + 1) thru -1 of xs) & (items 1 thru n of xs)
end rotateLeft

on partition(f, xs)
set {yesOnes, noOnes} to {{}, {}}
tell fnFrom(f)
repeat with i from 1 to count of xs
if |apply|(item i of xs) then
set end of yesOnes to item i of xs
else
set end of noOnes to item i of xs
end
end
end
return {yesOnes, noOnes}
end partition

-- {{key, {values}}, ...} in the order in which the keys turn up.
on groupBy(f, xs)
set g to fnFrom(f)
set groups to {}
repeat with x in xs
set v to contents of x
set k to g's |apply|(v)
set known to false
repeat with aGroup in groups
if item 1 of aGroup is k then
set end of item 2 of aGroup to v
set known to true
exit repeat
end if
end repeat
if not known then set end of groups to {k, {v}}
end repeat
return groups
end groupBy

on countsOf(xs)
script itself
on |apply|(v)
return v
end |apply|
end script
script sizes
on |apply|(pair_)
return {item 1 of pair_, length of item 2 of pair_}
end |apply|
end script
return map(sizes, groupBy(itself, xs))
end countsOf

on transpose(rows)
if rows is {} then return {}
set columns_ to {}
repeat with c from 1 to length of item 1 of rows
set col to {}
repeat with r from 1 to length of rows
set end of col to item c of item r of rows
end repeat
set end of columns_ to col
end repeat
return columns_
end transpose

on sumOf(xs)
set total to 0
repeat with x in xs
set total to total + x
end repeat
return total
end sumOf

on productOf(xs)
set total to 1
repeat with x in xs
set total to total * x
end repeat
return total
end productOf

on greatestOf(xs)
set best to item 1 of xs
repeat with x in rest of xs
if x > best then set best to contents of x
end repeat
return best
end greatestOf

on leastOf(xs)
set best to first item of xs
repeat with x in rest of xs
if x < best then set best to contents of x
end repeat
return best
end leastOf

on unionOf(xs, ys)
return uniqueItems(xs & ys)
end unionOf

on intersectionOf(xs, ys)
set both to {}
repeat with x in uniqueItems(xs)
if ys contains {contents of x} then set end of both to contents of x
end repeat
return both
end intersectionOf

on differenceOf(xs, ys)
set only to {}
repeat with x in xs
if ys does not contain {contents of x} then set end of only to contents of x
end repeat
return only
end differenceOf

on isSubset(xs, ys)
repeat with x in xs
if {contents of x} is not in ys then return false
end repeat
return true
end isSubset

on powerSet(xs)
if xs is {} then return {{}}
set smaller to powerSet(rest of xs)
set larger to {}
repeat with s in smaller
set end of larger to {item 1 of xs} & contents of s
end repeat
return smaller & larger
end powerSet

on permutationsOf(xs)
if length of xs < 2 then return {xs}
set found to {}
repeat with i from 1 to length of xs
repeat with p in permutationsOf(removeAt(i, xs))
set end of found to {item i of xs} & contents of p
end repeat
end repeat
return found
end permutationsOf

on combinationsOf(k, xs)
if k = 0 then return {{}}
if length of xs < k then return {}
set found to {}
repeat with c in combinationsOf(k - 1, rest of xs)
set end of found to {item 1 of xs} & contents of c
end repeat
return found & combinationsOf(k, rest of xs)
end combinationsOf

on productOfLists(xs, ys)
set pairs to {}
repeat with x in xs
repeat with y in ys
set end of pairs to {contents of x, contents of y}
end repeat
end repeat
return pairs
end productOfLists

on binarySearch(v, xs)
set lo to 1
set hi to length of xs
repeat while lo ≤ hi
set mid to (lo + hi) div 2
set m to item mid of xs
if m = v then return mid
if m < v then
set lo to mid + 1
else
set hi to mid - 1
end if
end repeat
return 0
end binarySearch

on composed(f, g)
script
property outer : fnFrom(f)
property inner : fnFrom(g)
on |apply|(v)
return outer's |apply|(inner's |apply|(v))
end |apply|
end script
end composed

on curried(f)
script
on |apply|(a)
script
on |apply|(b)
return |apply|(a, b) of fnFrom(f)
end |apply|
end script
end |apply|
end script
end curried

-- Handlers that serve as functions.
on doubled(x)
return x * 2
end doubled
on addTwo(a, b)
return a + b
end addTwo
on subtractTwo(a, b)
a - b
end subtractTwo
on isEven(n)
return n mod 2 = 0
end isEven

script ListSuite
property title : "lists"
on runTests(t)
t's same({2, 4, 6}, map(doubled, {1, 2, 3}), "map a handler")
script squared
on |apply|(x)
return x * x
end |apply|
end script
t's same({1, 4, 9}, map(squared, {1, 2, 3}), "map a script object")
t's same({}, map(squared, {}), "map nothing")
t's same({{2, 4}, {6}}, map(mapperOf(doubled), {{1, 2}, {3}}), "map inside map")
t's same({2, 4}, keep(isEven, {1, 2, 3, 4}), "keep")
t's same({1, 3}, dropWhere(isEven, {1, 2, 3, 4}), "drop")
t's same(10, foldLeft(addTwo, 0, {1, 2, 3, 4}), "fold")
t's same(-8, foldLeft(subtractTwo, 2, {1, 2, 3, 4}), "fold from the left")
t's same(0, foldRight(subtractTwo, 2, {1, 2, 3, 4}), "fold from the right")
t's same({0, 1, 3, 6}, scanLeft(addTwo, 0, {1, 2, 3}), "scan")
t's truth(anyOf(isEven, {1, 2}), "any")
t's falsehood(anyOf(isEven, {}), "any of nothing")
t's truth(allOf(isEven, {2, 4}), "all")
t's falsehood(allOf(isEven, {2, 3}), "not all")
t's same(4, firstWhere(isEven, {1, 3, 4, 6}), "first where")
t's same(missing value, firstWhere(isEven, {1}), "first where, none")
t's same(2, indexOf("b", {"a", "b", "b"}), "index")
t's same(3, lastIndexOf("b", {"a", "b", "b"}), "last index")
t's same(0, indexOf({1}, {1}), "index of what is not there")
t's same(1, indexOf({1}, {{1}}), "index of a list")
t's same({{1, "a"}, {2, "b"}}, zipTwo({1, 2, 3}, {"a", "b"}), "zip")
t's same({11, 22}, zipWith(addTwo, {1, 2}, {10, 20}), "zip with")
t's same({{1, 2}, {"a", "b"}}, unzip({{1, "a"}, {2, "b"}}), "unzip")
t's same({1, 2, 3}, rangeOf(1, 3), "range")
t's same({}, rangeOf(3, 1), "empty range")
t's same({10, 7, 4}, stepRange(10, 2, -3), "range downwards")
t's same({1, 2}, takeFirst(2, {1, 2, 3}), "take")
t's same({1}, takeFirst(5, {1}), "take too many")
t's same({3}, dropFirst(2, {1, 2, 3}), "drop first")
t's same({2, 4}, takeWhile(isEven, {2, 4, 5, 6}), "take while")
t's same({{1, 2}, {3, 4}, {5}}, chunksOf(2, {1, 2, 3, 4, 5}), "chunks")
t's same({{1, 2}, {2, 3}}, windowsOf(2, {1, 2, 3}), "windows")
t's same({1, 2, 3, {a:4}}, flatten({1, {2, {3, {}}}, {{{a:4}}}}), "flatten")
t's same({1, "a", 2}, uniqueItems({1, "a", 1, "A", 2}), "unique, ignoring case")
t's same({1, 3}, withoutItem(2, {1, 2, 3, 2}), "without")
t's same({1, 3}, removeAt(2, {1, 2, 3}), "remove at")
script noSuchPlace
removeAt(4, {1, 2, 3})
end script
t's raises(-1719, noSuchPlace, "remove at a wrong place")
t's same({1, 9, 2}, insertAt(2, 9, {1, 2}), "insert at")
t's same({1, 2, {9}}, insertAt(7, {9}, {1, 2}), "insert a list behind the end")
t's same({3, 2, 1}, swapItems(1, 3, {1, 2, 3}), "swap")
t's same({3, 1, 2}, rotateLeft(2, {1, 2, 3}), "rotate")
t's same({3, 1, 2}, rotateLeft(-1, {1, 2, 3}), "rotate the other way")
t's same({{2, 4}, {1, 3}}, partition(isEven, {1, 2, 3, 4}), "partition")
t's same({{true, {2, 4}}, {false, {3}}}, groupBy(isEven, {2, 3, 4}), "group")
t's same({{"a", 2}, {"b", 1}}, countsOf({"a", "b", "a"}), "counts")
t's same({{1, 4}, {2, 5}, {3, 6}}, transpose({{1, 2, 3}, {4, 5, 6}}), "transpose")
t's same(6, sumOf({1, 2, 3}), "sum")
t's same(6.5, sumOf({1, 2.5, "3"}), "sum with a number in a text")
t's same(24, productOf({1, 2, 3, 4}), "product")
t's same(9, greatestOf({3, 9, 2}), "greatest")
t's same("apple", leastOf({"pear", "apple"}), "least")
t's same({1, 2, 3}, unionOf({1, 2}, {2, 3}), "union")
t's same({2}, intersectionOf({1, 2, 2}, {2, 3}), "intersection")
t's same({1}, differenceOf({1, 2}, {2, 3}), "difference")
t's truth(isSubset({1, 2}, {3, 2, 1}), "subset")
t's falsehood(isSubset({1, 4}, {3, 2, 1}), "no subset")
t's same(8, count of powerSet({1, 2, 3}), "power set")
t's same({{}, {2}, {1}, {1, 2}}, powerSet({1, 2}), "power set of two")
t's same({{1, 2, 3}, {1, 3, 2}, {2, 1, 3}, {2, 3, 1}, {3, 1, 2}, {3, 2, 1}}, permutationsOf({1, 2, 3}), "permutations")
t's same({{1, 2}, {1, 3}, {2, 3}}, combinationsOf(2, {1, 2, 3}), "combinations")
t's same({{1, "x"}, {1, "y"}, {2, "x"}, {2, "y"}}, productOfLists({1, 2}, {"x", "y"}), "product of lists")
repeat with i from 1 to 10
t's same(i, binarySearch(i * 3, stepRange(3, 30, 3)), "binary search")
end repeat
t's same(0, binarySearch(4, stepRange(3, 30, 3)), "binary search, not there")
t's same(0, binarySearch(4, {}), "binary search in nothing")
t's same(18, composed(doubled, squared)'s |apply|(3), "compose")
t's same(36, composed(squared, doubled)'s |apply|(3), "compose, the other way")
set plus to curried(addTwo)
set plusFive to plus's |apply|(5)
t's same(12, plusFive's |apply|(7), "curry")
t's same({6, 7}, map(plusFive, {1, 2}), "curry and map")
end runTests
on mapperOf(f)
script
on |apply|(xs)
return map(f, xs)
end |apply|
end script
end mapperOf
end script
