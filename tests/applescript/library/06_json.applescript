-- JSON, there and back.
--
-- An object becomes a script object with its keys and values, since the labels of a record cannot be made at
-- run time; the other direction takes such objects, lists, texts, numbers, booleans and missing value.

script JSONKit
  property hexDigits : "0123456789abcdef"

  ------------------------------------------------------------------ objects

  on newObject()
    script JSONObject
      property isJSONObject : true
      property memberNames : {}
      property memberValues : {}

      on setMember(memberName, memberValue)
        considering case
          repeat with i from 1 to length of memberNames
            if item i of memberNames = memberName then
              set item i of memberValues to memberValue
              return me
            end if
          end repeat
        end considering
        set end of memberNames to memberName
        set end of memberValues to memberValue
        return me
      end setMember

      on member(memberName)
        considering case
          repeat with i from 1 to length of memberNames
            if item i of memberNames = memberName then return item i of memberValues
          end repeat
        end considering
        error "No member “" & memberName & "”." number 3001
      end member

      -- at({"a", 2, "b"}) walks down through objects (by name) and lists (by index).
      on at_(steps)
        set here to me
        repeat with stepReference in steps
          set oneStep to contents of stepReference
          if class of oneStep is integer then
            set here to item oneStep of here
          else
            set here to here's member(oneStep)
          end if
        end repeat
        return here
      end at_
    end script
    return JSONObject
  end newObject

  ------------------------------------------------------------------ writing

  on encode(v)
    return encodeWithIndent(v, "", "")
  end encode

  on encodePretty(v)
    return encodeWithIndent(v, "  ", linefeed)
  end encodePretty

  on encodeWithIndent(v, indentStep, currentIndent)
    set c to class of v
    if v is missing value then
      return "null"
    else if c is boolean then
      if v then return "true"
      return "false"
    else if c is integer then
      return v as text
    else if c is real then
      return numberText(v)
    else if c is text then
      return quoted_(v)
    else if c is list then
      set encodedItems to {}
      repeat with x in v
        set end of encodedItems to encodeWithIndent(contents of x, indentStep, deeper(currentIndent, indentStep))
      end repeat
      return bracketed(encodedItems, "[", "]", indentStep, currentIndent)
    else if c is script then
      set encodedItems to {}
      set colon to ":"
      if indentStep is not "" then set colon to ": "
      repeat with i from 1 to length of v's memberNames
        set end of encodedItems to quoted_(item i of v's memberNames) & colon & ¬
          encodeWithIndent(item i of v's memberValues, indentStep, deeper(currentIndent, indentStep))
      end repeat
      return bracketed(encodedItems, "{", "}", indentStep, currentIndent)
    end if
    error "A " & (c as text) & " has no JSON form." number 3002
  end encodeWithIndent

  on deeper(currentIndent, indentStep)
    if currentIndent is "" then return ""
    return currentIndent & indentStep
  end deeper

  on bracketed(encodedItems, opening, closing, indentStep, currentIndent)
    if encodedItems is {} then return opening & closing
    if indentStep is "" then return opening & joinTexts(encodedItems, ",") & closing
    set inside to currentIndent & indentStep
    return opening & inside & joinTexts(encodedItems, "," & inside) & currentIndent & closing
  end bracketed

  -- JSON wants 1.5e20 where AppleScript prints 1.5E+20, which is as good.
  on numberText(v)
    if v = (v div 1) and v < 1.0E+9 and v > -1.0E+9 then
      if v < 0 then return "-" & wholeText(-v)
      return wholeText(v)
    end if
    return v as text
  end numberText

  on wholeText(v)
    if v < 1000000 then return (v as integer) as text
    set low to (v mod 1000000) as integer
    return ((v div 1000000) as integer as text) & text -6 thru -1 of ("000000" & low)
  end wholeText

  on quoted_(s)
    set pieces to {}
    repeat with i from 1 to length of s
      set c to character i of s
      set n to id of c
      if c is quote then
        set end of pieces to "\\\""
      else if c is "\\" then
        set end of pieces to "\\\\"
      else if n = 10 then
        set end of pieces to "\\n"
      else if n = 13 then
        set end of pieces to "\\r"
      else if n = 9 then
        set end of pieces to "\\t"
      else if n < 32 then
        set end of pieces to "\\u00" & character (n div 16 + 1) of hexDigits & character (n mod 16 + 1) of hexDigits
      else
        set end of pieces to c
      end if
    end repeat
    return quote & joinTexts(pieces, "") & quote
  end quoted_

  ------------------------------------------------------------------ reading

  on decode(source)
    script parser
      property chars : {}
      property i : 1
      property n : 0

      on fail(what)
        if i > n then error "JSON: " & what & " expected at the end." number 3003
        error "JSON: " & what & " expected at character " & i & ", found “" & item i of chars & "”." number 3003
      end fail

      on skipWhite()
        repeat while i ≤ n and item i of my chars is in {space, tab, linefeed, return}
          set i to i + 1
        end repeat
      end skipWhite

      on expect(c)
        if i > n then fail("“" & c & "”")
        if item i of my chars is not c then fail("“" & c & "”")
        set i to i + 1
      end expect

      on parseValue()
        skipWhite()
        if i > n then fail("a value")
        set c to item i of my chars
        if c is "{" then return parseObject()
        if c is "[" then return parseArray()
        if c is quote then return parseText()
        if c is in "-0123456789" then return parseNumber()
        if c is "t" then return parseWord("true", true)
        if c is "f" then return parseWord("false", false)
        if c is "n" then return parseWord("null", missing value)
        fail("a value")
      end parseValue

      on parseWord(w, v)
        repeat with c in characters of w
          expect(contents of c)
        end repeat
        return v
      end parseWord

      on parseNumber()
        set firstPlace to i
        repeat while i ≤ n
          if item i of my chars is not in "+-0123456789.eE" then exit repeat
          set i to i + 1
        end repeat
        set numeral to (items firstPlace thru (i - 1) of my chars) as text
        try
          return numeral as number
        on error
          set i to firstPlace
          fail("a number")
        end try
      end parseNumber

      on parseText()
        set pieces to {}
        set i to i + 1
        repeat
          if i > n then fail("the end of a text")
          set c to item i of my chars
          set i to i + 1
          if c is quote then exit repeat
          if c is "\\" then
            if i > n then fail("an escape")
            set e to item i of my chars
            set i to i + 1
            considering case
              if e is "n" then
                set c to linefeed
              else if e is "r" then
                set c to return
              else if e is "t" then
                set c to tab
              else if e is "b" then
                set c to character id 8
              else if e is "f" then
                set c to character id 12
              else if e is in {quote, "\\", "/"} then
                set c to e
              else if e is "u" then
                set c to character id (parseUnit())
              else
                set i to i - 1
                fail("an escape")
              end if
            end considering
          end if
          set end of pieces to c
        end repeat
        return joinTexts(pieces, "")
      end parseText

      -- Four hexadecimal digits; a surrogate pair makes one character.
      on parseUnit()
        set u to parseFour()
        if u < 55296 or u > 56319 then return u
        expect("\\")
        expect("u")
        set v to parseFour()
        if v < 56320 or v > 57343 then fail("the second half of a character")
        return 65536 + (u - 55296) * 1024 + (v - 56320)
      end parseUnit

      on parseFour()
        if i + 3 > n then
          set i to n + 1
          fail("four hexadecimal digits")
        end if
        set u to 0
        repeat 4 times
          set d to offset of (item i of my chars) in (hexDigits of JSONKit)
          if d = 0 then set d to offset of (item i of my chars) in "0123456789ABCDEF"
          if d = 0 then fail("a hexadecimal digit")
          set u to u * 16 + d - 1
          set i to i + 1
        end repeat
        return u
      end parseFour

      on parseArray()
        set found to {}
        expect("[")
        skipWhite()
        if i ≤ n and item i of my chars is "]" then
          set i to i + 1
          return found
        end if
        repeat
          set end of found to parseValue()
          skipWhite()
          if i > n then fail("“,” or “]”")
          set c to item i of my chars
          if c is "]" then exit repeat
          if c is not "," then fail("“,” or “]”")
          set i to i + 1
        end repeat
        set i to i + 1
        return found
      end parseArray

      on parseObject()
        set found to JSONKit's newObject()
        expect("{")
        skipWhite()
        if i ≤ n and item i of my chars is "}" then
          set i to i + 1
          return found
        end if
        repeat
          skipWhite()
          if i > n then fail("a name")
          if item i of my chars is not quote then fail("a name")
          set memberName to parseText()
          skipWhite()
          expect(":")
          found's setMember(memberName, parseValue())
          skipWhite()
          if i > n then fail("“,” or “}”")
          set c to item i of my chars
          if c is "}" then exit repeat
          if c is not "," then fail("“,” or “}”")
          set i to i + 1
        end repeat
        set i to i + 1
        return found
      end parseObject
    end script

    set parser's chars to characters of source
    set parser's n to length of source
    set v to parser's parseValue()
    parser's skipWhite()
    if parser's i ≤ parser's n then parser's fail("the end")
    return v
  end decode
end script

script JSONSuite
  property title : "JSON"

  on runTests(t)
    set plainCases to {{"null", missing value}, {"true", true}, {"false", false}, {"0", 0}, {"-12", -12}, {"3.25", 3.25}, ¬
      {"\"\"", ""}, {"\"abc\"", "abc"}, {"[]", {}}, {"[1,2,[3,[]]]", {1, 2, {3, {}}}}, {"[true,null,\"x\"]", {true, missing value, "x"}}}
    repeat with aCase in plainCases
      set {source, v} to contents of aCase
      t's same(v, JSONKit's decode(source), "decode " & source)
      t's same(source, JSONKit's encode(v), "encode " & source)
    end repeat

    t's same({1, 2}, JSONKit's decode(" [ 1 ," & tab & "2" & linefeed & "] "), "white space")
    t's same(1500.0, JSONKit's decode("1.5e3"), "exponent")
    t's same("a\"b\\c/d", JSONKit's decode("\"a\\\"b\\\\c\\/d\""), "escapes")
    t's same("a" & linefeed & tab & "b", JSONKit's decode("\"a\\n\\tb\""), "control characters")
    t's same("é", JSONKit's decode("\"\\u00E9\""), "a code")
    t's same({128512}, {id of JSONKit's decode("\"\\ud83d\\ude00\"")}, "a surrogate pair")
    t's same("\"a\\\"b\\\\c\\n\\u0001\"", JSONKit's encode("a\"b\\c" & linefeed & character id 1), "escapes on the way out")
    t's same("123456789", JSONKit's encode(1.23456789E+8), "a whole real")
    t's same("-2", JSONKit's encode(-2.0), "a negative whole real")
    t's same("536870912", JSONKit's encode(536870911 + 1), "past the integers")

    set source to "{\"name\":\"Inbox\",\"unread\":3,\"flags\":[\"a\",\"b\"],\"sub\":{\"deep\":{\"er\":null}},\"Name\":\"other\"}"
    set decoded to JSONKit's decode(source)
    t's same({"name", "unread", "flags", "sub", "Name"}, memberNames of decoded, "member names")
    t's same("Inbox", decoded's member("name"), "a member")
    t's same("other", decoded's member("Name"), "case counts")
    t's same("b", decoded's at_({"flags", 2}), "walk down")
    t's same(missing value, decoded's at_({"sub", "deep", "er"}), "walk further down")
    t's same(source, JSONKit's encode(decoded), "there and back")
    script noMember
      JSONKit's decode("{}")'s member("x")
    end script
    t's raises(3001, noMember, "no such member")
    t's same("{\"a\":2}", JSONKit's encode(JSONKit's decode("{\"a\":1,\"a\":2}")), "the last one wins")

    set pretty to "{" & linefeed & "  \"a\": [" & linefeed & "    1," & linefeed & "    {}" & linefeed & "  ]," & linefeed & "  \"b\": []" & linefeed & "}"
    set made to JSONKit's newObject()'s setMember("a", {1, JSONKit's newObject()})'s setMember("b", {})
    t's same(pretty, JSONKit's encodePretty(made), "pretty")
    t's same(JSONKit's encode(made), JSONKit's encode(JSONKit's decode(pretty)), "pretty and back")

    set badCases to {{"", "JSON: a value expected at the end."}, ¬
      {"[1", "JSON: “,” or “]” expected at the end."}, ¬
      {"[1 2]", "JSON: “,” or “]” expected at character 4, found “2”."}, ¬
      {"{\"a\" 1}", "JSON: “:” expected at character 6, found “1”."}, ¬
      {"{a:1}", "JSON: a name expected at character 2, found “a”."}, ¬
      {"tru", "JSON: “e” expected at the end."}, ¬
      {"\"abc", "JSON: the end of a text expected at the end."}, ¬
      {"\"\\x\"", "JSON: an escape expected at character 3, found “x”."}, ¬
      {"\"\\u12\"", "JSON: four hexadecimal digits expected at the end."}, ¬
      {"1-2", "JSON: a number expected at character 1, found “1”."}, ¬
      {"1 2", "JSON: the end expected at character 3, found “2”."}, ¬
      {"]", "JSON: a value expected at character 1, found “]”."}}
    repeat with aCase in badCases
      script decodeIt
        property source : item 1 of aCase
        JSONKit's decode(source)
      end script
      t's raisesText(item 2 of aCase, decodeIt, "bad JSON")
    end repeat
    script noForm
      JSONKit's encode({current date})
    end script
    t's raises(3002, noForm, "no JSON form")

    -- deep and long
    set deep to {}
    repeat 60 times
      set deep to {deep}
    end repeat
    t's same(repeatedText("[", 61) & repeatedText("]", 61), JSONKit's encode(deep), "deep")
    t's same(deep, JSONKit's decode(JSONKit's encode(deep)), "deep, there and back")
    set longOne to rangeOf(1, 300)
    t's same(longOne, JSONKit's decode(JSONKit's encode(longOne)), "long, there and back")
  end runTests
end script
