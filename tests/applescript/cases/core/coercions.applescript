{true as integer, false as integer, true as text, true as list, 1 as boolean, 0 as boolean}
-- expect: {1, 0, "true", {true}, true, false}
----
{"true" as boolean, "false" as boolean, "TRUE" as boolean}  -- expect: {true, false, true}
9 as boolean  -- expect error: -1700 Can’t make 9 into type boolean.
"maybe" as boolean  -- expect error: -1700 Can’t make "maybe" into type boolean.
----
{5 as real, 5.0 as integer, 5 as text, 5.5 as text, 5 as list, 5 as number, 5.5 as number}
-- expect: {5.0, 5, "5", "5.5", {5}, 5, 5.5}
----
{"5" as integer, "5.7" as integer, "5" as real, "5.5" as real, "5" as number, "5.5" as number, "-3" as integer, "1e3" as number}
-- expect: {5, 6, 5.0, 5.5, 5, 5.5, -3, 1000.0}
----
"abc" as integer  -- expect error: -1700 Can’t make "abc" into type integer.
"abc" as number  -- expect error: -1700 Can’t make "abc" into type number.
"" as number  -- expect error: -1700 Can’t make "" into type number.
"12a" as real  -- expect error: -1700 Can’t make "12a" into type real.
{"abc" as list, {} as list, {1} as list}  -- expect: {{"abc"}, {}, {1}}
----
{{5} as integer, {5} as text, {"7"} as number, {{"x"}} as text, {true} as boolean}
-- expect: {5, "5", 7, "x", true}
----
{1, 2} as integer  -- expect error: -1700 Can’t make {1, 2} into type integer.
{} as integer  -- expect error: -1700 Can’t make {} into type integer.
----
{{1, "a", true, 2.5} as text, {} as text, {missing value, text, Monday} as text}
-- expect: {"1atrue2.5", "", "missing valuetextMonday"}
----
{1, {a:1}} as text  -- expect error: -1700 Can’t make {1, {a:1}} into type text.
{a:1} as text  -- expect error: -1700 Can’t make {a:1} into type text.
{{a:1, b:"x"} as list, {a:1} as record}  -- expect: {{1, "x"}, {a:1}}
----
{Monday as text, text as text, missing value as text, yes as text, March as integer, Sunday as integer}
-- expect: {"Monday", "text", "missing value", "yes", 3, 1}
----
{"a" as string, "a" as Unicode text, 5 as string, class of ("a" as string), class of ("a" as Unicode text)}
-- expect: {"a", "a", "5", text, text}
----
{class of (5 as text), class of (5 as real), class of (5 as list), class of ("5" as number), class of ("5.0" as number)}
-- expect: {text, real, list, integer, real}
----
-- The result of one is the operand of the next.
5 as text as list  -- expect: {"5"}
missing value as integer  -- expect error: -1700 Can’t make missing value into type integer.
class of class of 5  -- expect: class
----
{class of missing value, class of true, class of (current date), class of text, class of {a:1}, class of yes}
-- expect: {class, boolean, date, class, record, constant}
----
-- The message of a coercion that fails holds the value as it prints.
try
	{1, "two", {three:3.0}} as integer
on error m
	m
end try
-- expect: "Can’t make {1, \"two\", {three:3.0}} into type integer."
----
try
	"x" as integer
on error m number n from f to t partial result p
	{n, f, t}
end try
-- expect: {-1700, "x", integer}
