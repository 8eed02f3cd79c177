{0, 7, -7, 536870911, -536870911}  -- expect: {0, 7, -7, 536870911, -536870911}
-- What does not fit an integer is a real.
{class of 536870911, class of 536870912}  -- expect: {integer, real}
536870912  -- expect: 5.36870912E+8
536870911 + 1  -- expect: 5.36870912E+8
-536870911 - 1000  -- expect: -5.36871911E+8
999999999  -- expect: 9.99999999E+8
100000 * 100000  -- expect: 1.0E+10
{class of (20000 * 20000), class of (30000 * 30000)}  -- expect: {integer, real}
{1.5, -0.25, 100.0, 9999.5}  -- expect: {1.5, -0.25, 100.0, 9999.5}
{10000.0, 12345.678, 1.0E+20}  -- expect: {1.0E+4, 1.2345678E+4, 1.0E+20}
{1.0E-5, 0.000025, 0.1, 0.25}  -- expect: {1.0E-5, 2.5E-5, 0.1, 0.25}
{1e3, 1E3, 1.5e+2, 25e-1}  -- expect: {1000.0, 1000.0, 150.0, 2.5}
-- Twelve digits are shown.
{1 / 3, 2 / 3, 10 / 3}  -- expect: {0.333333333333, 0.666666666667, 3.333333333333}
{1 + 1, 1 + 1.0, 1.0 + 1, 3 - 5, 2 * 2.5, 5.5 - 1}  -- expect: {2, 2.0, 2.0, -2, 5.0, 4.5}
"5.5" - 1  -- expect: 4.5
{".5" + 1, "5." + 1, "-.5" + 1}  -- expect: {1.5, 6.0, 0.5}
-- Division makes reals, also where it leaves nothing over.
{6 / 3, 7 / 2, 1 ÷ 4}  -- expect: {2.0, 3.5, 0.25}
{7 div 2, -7 div 2, 7 div -2, -7 div -2}  -- expect: {3, -3, -3, 3}
{7 mod 3, -7 mod 3, 7 mod -3, -7 mod -3}  -- expect: {1, -1, 1, -1}
{7.5 div 2, 7.5 mod 2}  -- expect: {3, 1.5}
{2 ^ 3, 2 ^ 0, 2 ^ -1, 4 ^ 0.5}  -- expect: {8.0, 1.0, 0.5, 2.0}
2 ^ 3 ^ 2  -- expect: 512.0
-- The sign binds tighter than the power.
-2 ^ 2  -- expect: 4.0
{-(3), - 3, +3, - -3}  -- expect: {-3, -3, 3, 3}
1 / 0  -- expect error: -2701 Can’t divide 1.0 by zero.
1 div 0  -- expect error: -2701
5 mod 0  -- expect error: -2701
1.0E+300 * 1.0E+300  -- expect error: -2702 The result of a numeric operation was too large.
{1 = 1.0, 0.5 = 1 / 2, 536870912 = 536870912.0}  -- expect: {true, true, true}
{3 as real, 3.0 as integer, 2.6 as integer, -2.6 as integer, 2.4 as integer}  -- expect: {3.0, 3, 3, -3, 2}
----
{(1.0E+4) as text, 0.1 as text, 100 as text, -5 as text, 1.0 as text}
-- expect: {"1.0E+4", "0.1", "100", "-5", "1.0"}
----
{"12" + 1, "1.5" * 2, 10 - "3"}  -- expect: {13, 3.0, 7}
1 + "one"  -- expect error: -1700 Can’t make "one" into type number.
1 + {2}  -- expect: 3
1 + {2, 3}  -- expect error: -1700 Can’t make {2, 3} into type number.
(17 div 5) * 5 + 17 mod 5  -- expect: 17
----
set n to 10
set n to n - 1
set n to n * n
n
-- expect: 81
