-- Numbers: divisors and primes, fractions, matrices, statistics, and a few sequences.

on gcd(a, b)
   if a < 0 then set a to -a
   if b < 0 then set b to -b
   repeat while b ≠ 0
      set {a, b} to {b, a mod b}
   end repeat
   return a
end gcd

on lcm(a, b)
   if a = 0 or b = 0 then return 0
   return absolute(a div gcd(a, b) * b)
end lcm

on absolute(x)
   if x < 0 then return -x
   x
end absolute

on signOf(x)
   if x > 0 then
      1
   else if x < 0 then
      -1
   else
      0
   end if
end signOf

on lesserOf(a, b)
   if a < b then return a
   return b
end lesserOf

on isPrime(n)
   if n < 2 then return false
   if n < 4 then return true
   if n mod 2 = 0 or n mod 3 = 0 then return false
   set d to 5
   repeat while d * d ≤ n
      if n mod d = 0 or n mod (d + 2) = 0 then return false
      set d to d + 6
   end repeat
   return true
end isPrime

on primesUpTo(limit)
   script sieve
      property marks : {}
   end script
   repeat limit times
      set end of sieve's marks to true
   end repeat
   set found to {}
   repeat with p from 2 to limit
      if item p of sieve's marks then
         set end of found to p
         repeat with m from p * p to limit by p
            set item m of sieve's marks to false
         end repeat
      end if
   end repeat
   return found
end primesUpTo

on factorsOf(n)
   set found to {}
   set d to 2
   repeat while d * d ≤ n
      repeat while n mod d = 0
         set end of found to d
         set n to n div d
      end repeat
      set d to d + 1
   end repeat
   if n > 1 then set end of found to n
   return found
end factorsOf

on divisorsOf(n)
   set {low, high} to {{}, {}}
   repeat with d from 1 to n
      if d * d > n then exit repeat
      if n mod d = 0 then
         set end of low to d
         if d * d ≠ n then set beginning of high to n div d
      end if
   end repeat
   return low & high
end divisorsOf

on factorial(n)
   if n ≤ 1 then return 1
   return n * factorial(n - 1)
end factorial

on fibonacci(n)
   set {a, b} to {0, 1}
   repeat n times
      set {a, b} to {b, a + b}
   end repeat
   return a
end fibonacci

on ackermann(m, n)
   if m = 0 then return n + 1
   if n = 0 then return ackermann(m - 1, 1)
   return ackermann(m - 1, ackermann(m, n - 1))
end ackermann

on collatz(n)
   set steps to {n}
   repeat until n = 1
      if n mod 2 = 0 then
         set n to n div 2
      else
         set n to 3 * n + 1
      end if
      set end of steps to n
   end repeat
   steps
end collatz

on digitSum(n)
   if n < 10 then return n
   return n mod 10 + digitSum(n div 10)
end digitSum

-- The square root by Newton's steps.
on squareRoot(x)
   if x < 0 then error "No root of " & x & "." number 5001
   if x = 0 then return 0.0
   set guess to x as real
   repeat 60 times
      set better to (guess + x / guess) / 2
      if absolute(better - guess) < 1.0E-13 * better then exit repeat
      set guess to better
   end repeat
   return better
end squareRoot

on integerRoot(n)
   set r to 0
   repeat while (r + 1) * (r + 1) ≤ n
      set r to r + 1
   end repeat
   return r
end integerRoot

on powerMod(b, e, m)
   set r to 1
   set b to b mod m
   repeat while e > 0
      if e mod 2 = 1 then set r to r * b mod m
      set b to b * b mod m
      set e to e div 2
   end repeat
   return r
end powerMod

on pascalRow(n)
   set aRow to {1}
   repeat n times
      set nextRow to {1}
      repeat with i from 2 to length of aRow
         set end of nextRow to (item (i - 1) of aRow) + (item i of aRow)
      end repeat
      set aRow to nextRow & 1
   end repeat
   return aRow
end pascalRow

on isLuhnValid(digits_)
   set total to 0
   set doubleIt to false
   repeat with c in reverse of characters of digits_
      set d to c as integer
      if doubleIt then
         set d to d * 2
         if d > 9 then set d to d - 9
      end if
      set total to total + d
      set doubleIt to not doubleIt
   end repeat
   return total mod 10 = 0
end isLuhnValid

on roundTo(x, places)
   set f to 10 ^ places
   return (round (x * f) rounding as taught in school) / f
end roundTo

-- statistics ------------------------------------------------------------------

on meanOf(xs)
   if xs = {} then error "No mean of nothing." number 5002
   set total to 0
   repeat with x in xs
      set total to total + x
   end repeat
   return total / (count of xs)
end meanOf

on medianOf(xs)
   set ys to SortKit's mergeSort(xs, UpwardOrder)
   set n to length of ys
   if n mod 2 = 1 then return item (n div 2 + 1) of ys
   return ((item (n div 2) of ys) + (item (n div 2 + 1) of ys)) / 2
end medianOf

on varianceOf(xs)
   set m to meanOf(xs)
   set total to 0
   repeat with x in xs
      set total to total + (x - m) ^ 2
   end repeat
   return total / (count xs)
end varianceOf

on modeOf(xs)
   set {best, bestCount} to {missing value, 0}
   repeat with aPair in countsOf(xs)
      if item 2 of aPair > bestCount then set {best, bestCount} to aPair
   end repeat
   return best
end modeOf

-- fractions: script objects that are never changed ------------------------------

on fraction(p, q)
   if q = 0 then error "A fraction over zero." number -2701
   if q < 0 then set {p, q} to {-p, -q}
   set g to gcd(p, q)
   if g = 0 then set g to 1
   script FractionObject
      property num : p div g
      property den : q div g

      on plus(other)
         return fraction(num * (other's den) + (other's num) * den, den * (other's den))
      end plus
      on minus(other)
         return plus(other's negated())
      end minus
      on negated()
         fraction(-num, den)
      end negated
      on times_(other)
         return fraction(num * (num of other), den * (den of other))
      end times_
      on over_(other)
         return fraction(num * (den of other), den * (num of other))
      end over_
      on isLess(other)
         return num * (other's den) < (other's num) * den
      end isLess
      on toText()
         if den = 1 then return num as text
         return (num as text) & "/" & den
      end toText
      on toReal()
         return num / den
      end toReal
   end script
   return FractionObject
end fraction

-- matrices: lists of rows -------------------------------------------------------

on identityMatrix(n)
   set m to {}
   repeat with i from 1 to n
      set aRow to {}
      repeat with j from 1 to n
         if i = j then
            set end of aRow to 1
         else
            set end of aRow to 0
         end if
      end repeat
      set end of m to aRow
   end repeat
   return m
end identityMatrix

on matrixProduct(a, b)
   set m to {}
   repeat with i from 1 to length of a
      set aRow to {}
      repeat with j from 1 to length of item 1 of b
         set s to 0
         repeat with k from 1 to length of b
            set s to s + (item k of item i of a) * (item j of item k of b)
         end repeat
         set end of aRow to s
      end repeat
      set end of m to aRow
   end repeat
   return m
end matrixProduct

on matrixPower(m, e)
   set r to identityMatrix(length of m)
   repeat while e > 0
      if e mod 2 is 1 then set r to matrixProduct(r, m)
      set m to matrixProduct(m, m)
      set e to e div 2
   end repeat
   return r
end matrixPower

on determinant(m)
   set n to length of m
   if n = 1 then return item 1 of item 1 of m
   set total to 0
   repeat with c from 1 to n
      set minor to {}
      repeat with aRow in rest of m
         set end of minor to removeAt(c, contents of aRow)
      end repeat
      set term to (item c of item 1 of m) * determinant(minor)
      if c mod 2 = 0 then set term to -term
      set total to total + term
   end repeat
   return total
end determinant

script NumberSuite
   property title : "numbers"

   on runTests(t)
      t's same({6, 1, 7, 0, 4}, {gcd(54, 24), gcd(17, 5), gcd(0, 7), gcd(0, 0), gcd(-8, 12)}, "gcd")
      t's same({12, 0, 35}, {lcm(4, 6), lcm(0, 3), lcm(-5, 7)}, "lcm")
      t's same({1, -1, 0}, {signOf(0.1), signOf(-3), signOf(0)}, "sign, by the value of the if")
      t's same({2, 3, 5, 7, 11, 13, 17, 19, 23, 29}, primesUpTo(30), "sieve")
      t's same(primesUpTo(200), keep(isPrime, rangeOf(1, 200)), "sieve and trial division")
      t's same(25, (count primesUpTo(100)), "primes below 100")
      t's same({2, 2, 2, 3, 3, 5}, factorsOf(360), "factors")
      t's same({97}, factorsOf(97), "a prime's factors")
      t's same({1, 2, 3, 4, 6, 9, 12, 18, 36}, divisorsOf(36), "divisors")
      t's identical(479001600, factorial(12), "12!")
      t's same("6.2270208E+9", factorial(13) as text, "13! is a real")
      t's same({0, 1, 1, 2, 3, 5, 8}, map(fibonacci, {0, 1, 2, 3, 4, 5, 6}), "Fibonacci")
      t's same(433494437, fibonacci(43), "Fibonacci, large")
      t's same(9, ackermann(2, 3), "Ackermann")
      t's same({6, 3, 10, 5, 16, 8, 4, 2, 1}, collatz(6), "Collatz")
      t's same(15, digitSum(12345), "digit sum")
      t's near(1.41421356237309505, squareRoot(2), "square root")
      t's near(12, squareRoot(144), "a whole root")
      t's near(2 ^ 0.5, squareRoot(2), "square root by the operator")
      script noRoot
         squareRoot(-1)
      end script
      t's raises(5001, noRoot, "no root")
      t's same({3, 3, 4}, {integerRoot(9), integerRoot(15), integerRoot(16)}, "integer root")
      t's same(445, powerMod(4, 13, 497), "power modulo")
      t's same({1, 4, 6, 4, 1}, pascalRow(4), "Pascal")
      t's truth(isLuhnValid("79927398713"), "Luhn")
      t's falsehood(isLuhnValid("79927398710"), "not Luhn")
      t's near(3.14, roundTo(pi, 2), "round to two places")
      t's near(1200, roundTo(1234, -2), "round to hundreds")

      t's near(2.5, meanOf({1, 2, 3, 4}), "mean")
      t's same(3, medianOf({5, 1, 3}), "median")
      t's near(2.5, medianOf({4, 1, 3, 2}), "median of an even number")
      t's near(1.25, varianceOf({1, 2, 3, 4}), "variance")
      t's same("b", modeOf({"a", "b", "c", "b"}), "mode")
      script noMean
         meanOf({})
      end script
      t's raises(5002, noMean, "no mean")

      set half to fraction(1, 2)
      set third_ to fraction(-2, -6)
      t's same("1/3", third_'s toText(), "a fraction is reduced")
      t's same("5/6", half's plus(third_)'s toText(), "plus")
      t's same("1/6", toText() of half's minus(third_), "minus")
      t's same("1/6", half's times_(third_)'s toText(), "times")
      t's same("3/2", half's over_(third_)'s toText(), "over")
      t's same("-1/2", (half's negated())'s toText(), "negated")
      t's same("1", half's plus(half)'s toText(), "a whole")
      t's truth(third_'s isLess(half), "less")
      t's near(0.5, half's toReal(), "as a real")
      set h to fraction(0, 5)
      repeat with n from 1 to 6
         set h to h's plus(fraction(1, n))
      end repeat
      t's same("49/20", h's toText(), "harmonic number")
      script overZero
         half's over_(fraction(0, 1))
      end script
      t's raises(-2701, overZero, "over zero")

      t's same({{19, 22}, {43, 50}}, matrixProduct({{1, 2}, {3, 4}}, {{5, 6}, {7, 8}}), "matrix product")
      t's same({{14}}, matrixProduct({{1, 2, 3}}, {{1}, {2}, {3}}), "row by column")
      t's same({{89, 55}, {55, 34}}, matrixPower({{1, 1}, {1, 0}}, 10), "matrix power")
      t's same(-2, determinant({{1, 2}, {3, 4}}), "determinant")
      t's same(-306, determinant({{6, 1, 1}, {4, -2, 5}, {2, 8, 7}}), "determinant of three")
   end runTests
end script
