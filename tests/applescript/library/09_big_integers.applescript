-- Whole numbers without limit: lists of digits in base 10000, least significant first. Only numbers from zero.

script BigKit
property base_ : 10000

on fromInteger(n)
	if n = 0 then return {0}
	set digits_ to {}
	repeat while n > 0
		set end of digits_ to (n mod base_) as integer
		set n to n div base_
	end repeat
	digits_
end

on fromText(s)
	set digits_ to {}
	repeat while (count s) > 4
		set end of digits_ to (text -4 thru -1 of s) as integer
		set s to text 1 thru -5 of s
	end repeat
	set end of digits_ to s as integer
	my trimmed(digits_)
end

on toText(a)
	set s to (last item of a) as text
	repeat with i from (count a) - 1 to 1 by -1
		set s to s & (text 2 thru 5 of ((10000 + (item i of a)) as integer as text))
	end repeat
	s
end

on trimmed(a)
	repeat while (count a) > 1 and last item of a = 0
		set a to items 1 thru -2 of a
	end
	a
end

on compare(a, b)
	set {a, b} to {trimmed(a), trimmed(b)}
	if (count a) < (count b) then return -1
	if (count a) > (count b) then return 1
	repeat with i from (count a) to 1 by -1
		if item i of a < item i of b then return -1
		if item i of a > item i of b then return 1
	end
	return 0
end

on plus(a, b)
	set carry to 0
	set c to {}
	set n to count a
	if (count b) > n then set n to count b
	repeat with i from 1 to n
		set s to carry
		if i ≤ (count a) then set s to s + (item i of a)
		if i ≤ (count b) then set s to s + (item i of b)
		set end of c to s mod base_
		set carry to s div base_
	end
	if carry > 0 then set end of c to carry
	c
end

on minus(a, b)
	if compare(a, b) < 0 then error "The result would be negative." number 6001
	set borrow to 0
	set c to {}
	repeat with i from 1 to count a
		set s to (item i of a) - borrow
		if i ≤ (count b) then set s to s - (item i of b)
		if s < 0 then
			set s to s + base_
			set borrow to 1
		else
			set borrow to 0
		end
		set end of c to s
	end
	trimmed(c)
end

on times_(a, b)
	set c to {}
	repeat (count a) + (count b) times
		set end of c to 0
	end
	repeat with i from 1 to count a
		set carry to 0
		set x to item i of a
		repeat with j from 1 to count b
			set s to (item (i + j - 1) of c) + x * (item j of b) + carry
			set item (i + j - 1) of c to s mod base_
			set carry to s div base_
		end
		set item (i + (count b)) of c to carry
	end
	trimmed(c)
end

-- By a small number: {quotient, remainder}
on divide(a, n)
	set q to {}
	set r to 0
	repeat with i from (count a) to 1 by -1
		set s to r * base_ + (item i of a)
		set beginning of q to s div n
		set r to s mod n
	end
	{trimmed(q), r}
end

on power(a, e)
	set r to {1}
	repeat while e > 0
		if e mod 2 = 1 then set r to times_(r, a)
		set e to e div 2
		if e > 0 then set a to times_(a, a)
	end
	r
end

on factorial_(n)
	set r to {1}
	repeat with i from 2 to n
		set r to times_(r, fromInteger(i))
	end
	r
end

end script

script BigSuite
property title : "big integers"
on runTests(t)
script negative
	BigKit's minus({1}, {2})
end script
tell BigKit
	t's same("0", toText(fromInteger(0)), "zero")
	t's same("123456789", toText(fromInteger(123456789)), "from an integer")
	t's same({6789, 2345, 1}, fromText("123456789"), "digits")
	t's same("100000000", toText(fromText("100000000")), "zeros inside")
	t's same("42", toText(fromText("00000042")), "zeros in front")
	t's same("100000000000000000000", toText(plus(fromText("99999999999999999999"), {1})), "carry all the way")
	t's same("99999999999999999999", toText(minus(fromText("100000000000000000000"), {1})), "borrow all the way")
	t's same("0", toText(minus({5}, {5})), "to nothing")
	t's same("121932631112635269", toText(times_(fromText("123456789"), fromText("987654321"))), "product")
	t's same("0", toText(times_({0}, fromText("123456789"))), "times zero")
	t's same("1267650600228229401496703205376", toText(power({2}, 100)), "2^100")
	t's same("30414093201713378043612608166064768844377641568960512000000000000", toText(factorial_(50)), "50!")
	t's same({-1, 0, 1}, {compare({1}, {2}), compare({1, 2}, {1, 2}), compare({0, 1}, {9999})}, "compare")
	set {q, r} to divide(fromText("1000000000000000000000"), 7)
	t's same({"142857142857142857142", 6}, {toText(q), r}, "divide")
	t's raises(6001, negative, "below zero")
	set {a, b} to {{0}, {1}}
	repeat 150 times
		set {a, b} to {b, plus(a, b)}
	end
	t's same("9969216677189303386214405760200", toText(a), "the 150th Fibonacci number")
end tell
end runTests
end script
