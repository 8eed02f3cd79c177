-- What one does with the texts of letters: addresses, subjects, quoting, rules for filing.

-- {display name, address}
on takeAddressApart(s)
set s to trimWhite(s)
if s contains "<" and s ends with ">" then
set n to trimText(trimWhite(textBefore(s, "<")), "\"")
return {n, textBetween(s, "<", ">")}
else if s contains "(" and s ends with ")" then
return {textBetween(s, "(", ")"), trimWhite(textBefore(s, "("))}
end if
{"", s}
end takeAddressApart

-- A list of addresses is split at commas, but not at those inside quotes or brackets.
on addressesOf(s)
set {found, piece, depth_, quoted} to {{}, "", 0, false}
repeat with c in characters of s
set c to contents of c
if c is "\"" then set quoted to not quoted
if not quoted then
if c is "<" or c is "(" then set depth_ to depth_ + 1
if c is ">" or c is ")" then set depth_ to depth_ - 1
end if
if c is "," and not quoted and depth_ = 0 then
set end of found to trimWhite(piece)
set piece to ""
else
set piece to piece & c
end if
end repeat
if trimWhite(piece) is not "" then set end of found to trimWhite(piece)
found
end addressesOf

on domainOf(s)
set {n, anAddress} to takeAddressApart(s)
if anAddress does not contain "@" then return ""
lowerCased(textAfter(anAddress, "@"))
end domainOf

on isAddress(s)
if s does not contain "@" then return false
set parts to splitText(s, "@")
if (count parts) is not 2 then return false
set {localPart, domainPart} to parts
if localPart is "" or domainPart is "" then return false
if domainPart does not contain "." then return false
if domainPart starts with "." or domainPart ends with "." then return false
return not (s contains space)
end isAddress

property replyMarks : {"re:", "aw:", "fwd:", "fw:", "wg:", "sv:"}

-- The subject without "Re:", "Fwd:" and list tags, however often they stand there.
on bareSubject(s)
repeat
set before_ to s
set s to trimWhite(s)
repeat with m in replyMarks
if s starts with m then
if length of s is length of m then return ""
set s to trimWhite(text ((length of m) + 1) thru -1 of s)
end if
end repeat
if s starts with "[" and s contains "]" and s does not end with "]" then set s to trimWhite(textAfter(s, "]"))
if s is before_ then return s
end repeat
end bareSubject

on replySubject(s)
set b to bareSubject(s)
if b is "" then return "Re:"
"Re: " & b
end replySubject

on quoteForReply(body, sender)
set linesOfText to {sender & " wrote:"}
repeat with p in paragraphs of body
if p starts with ">" then
set end of linesOfText to ">" & p
else
set end of linesOfText to "> " & p
end if
end repeat
joinTexts(linesOfText, linefeed)
end quoteForReply

on quoteDepth(aLine)
set n to 0
repeat while aLine starts with ">"
set n to n + 1
if length of aLine is 1 then return n
set aLine to text 2 thru -1 of aLine
if aLine starts with space and length of aLine > 1 then set aLine to text 2 thru -1 of aLine
end repeat
n
end quoteDepth

on withoutSignature(body)
set kept to {}
repeat with p in paragraphs of body
if contents of p is "-- " then exit repeat
set end of kept to contents of p
end repeat
joinTexts(kept, linefeed)
end withoutSignature

-- Rules: {what:..., test:..., pattern:..., goesTo:...}; the first that fits decides.
on mailboxFor(aLetter, rules, otherwise)
repeat with aRule in rules
set {what:w, test:k, pattern:p} to contents of aRule
if w is "sender" then
set v to sender_ of aLetter
else if w is "subject" then
set v to subject_ of aLetter
else if w is "domain" then
set v to domainOf(sender_ of aLetter)
else
error "A rule about " & w & "?" number 9001
end if
if k is "is" then
set fits to v is p
else if k is "contains" then
set fits to v contains p
else if k is "starts" then
set fits to v starts with p
else if k is "matches" then
set fits to matchesWildcard(v, p)
else
set fits to false
end if
if fits then return goesTo of aRule
end repeat
otherwise
end mailboxFor

-- Threads: letters with the same bare subject, in the order of their first letter.
on threadsOf(subjects)
script bare
on |apply|(s)
return lowerCased(bareSubject(s))
end |apply|
end script
groupBy(bare, subjects)
end threadsOf

-- "A/B/C" paths
on parentPath(p)
set parts to splitText(p, "/")
if (count parts) < 2 then return ""
joinTexts(items 1 thru -2 of parts, "/")
end parentPath

on leafOf(p)
last item of splitText(p, "/")
end leafOf

on treeText(paths)
set linesOfText to {}
repeat with p in SortKit's mergeSort(paths, UpwardOrder)
set d to countOccurrences(p, "/")
set end of linesOfText to repeatedText("  ", d) & leafOf(contents of p)
end repeat
joinTexts(linesOfText, linefeed)
end treeText

script LetterSuite
property title : "letters"
on runTests(t)
t's same({"Ann Lee", "ann@example.org"}, takeAddressApart("Ann Lee <ann@example.org>"), "name and address")
t's same({"Lee, Ann", "ann@example.org"}, takeAddressApart("\"Lee, Ann\" <ann@example.org>"), "quoted name")
t's same({"Ann", "ann@example.org"}, takeAddressApart("ann@example.org (Ann)"), "name in parentheses")
t's same({"", "ann@example.org"}, takeAddressApart(" ann@example.org"), "address alone")
t's same({"\"Lee, Ann\" <a@b.c>", "x@y.z", "bob@example.org (Bob, jr)"}, addressesOf("\"Lee, Ann\" <a@b.c>, x@y.z,bob@example.org (Bob, jr)"), "several")
t's same({}, addressesOf("  "), "none")
t's same("example.org", domainOf("Ann <ann@EXAMPLE.org>"), "domain")
t's same("", domainOf("Ann"), "no domain")
repeat with good in {"a@b.c", "first.last@sub.example.org"}
t's truth(isAddress(contents of good), "an address")
end repeat
repeat with bad in {"a", "@b.c", "a@", "a@b", "a@.b", "a@b.c.", "a b@c.d", "a@b@c.d"}
t's falsehood(isAddress(contents of bad), "no address: " & bad)
end repeat
repeat with s in {"Budget", "Re: Budget", "RE: re: Fwd: Budget", "[list] Budget", "Aw: [list] Re: Budget", "  Budget  "}
t's same("Budget", bareSubject(s as text), "bare subject")
end repeat
t's same("", bareSubject("Re:"), "nothing behind it")
t's same("[done]", bareSubject("[done]"), "a tag alone stays")
t's same("Re: Budget", replySubject("AW: Re: Budget"), "reply")
t's same("Re:", replySubject(""), "reply to nothing")
t's same("Ann wrote:" & linefeed & "> one" & linefeed & ">> two", quoteForReply("one" & linefeed & "> two", "Ann"), "quote")
t's same({0, 1, 3, 2}, {quoteDepth("x"), quoteDepth("> x"), quoteDepth(">>> x"), quoteDepth("> > x")}, "depth of quoting")
t's same("Hi" & linefeed & "there", withoutSignature("Hi" & linefeed & "there" & linefeed & "-- " & linefeed & "Ann"), "signature")

set rules to {¬
{what:"domain", test:"is", pattern:"lists.example.org", goesTo:"Lists"}, ¬
{what:"subject", test:"matches", pattern:"invoice *", goesTo:"Money/Invoices"}, ¬
{what:"sender", test:"contains", pattern:"boss", goesTo:"Work"}, ¬
{what:"subject", test:"starts", pattern:"[", goesTo:"Tagged"}}
t's same("Lists", mailboxFor({sender_:"x@lists.example.org", subject_:"Invoice 7"}, rules, "Inbox"), "the first rule decides")
t's same("Money/Invoices", mailboxFor({sender_:"y@z.org", subject_:"INVOICE 7"}, rules, "Inbox"), "case is ignored")
t's same("Work", mailboxFor({sender_:"The Boss <b@z.org>", subject_:"x"}, rules, "Inbox"), "contains")
t's same("Tagged", mailboxFor({subject_:"[x] y", sender_:"y@z.org"}, rules, "Inbox"), "starts")
t's same("Inbox", mailboxFor({sender_:"y@z.org", subject_:"x"}, rules, "Inbox"), "none fits")
script badRule
mailboxFor({sender_:"", subject_:""}, {{what:"weather", test:"is", pattern:""}}, "")
end script
t's raisesText("A rule about weather?", badRule, "a bad rule")
t's same({{"lunch", {"Lunch", "Re: lunch"}}, {"dinner", {"Dinner"}}}, threadsOf({"Lunch", "Dinner", "Re: lunch"}), "threads")
t's same({"Work/Projects", "", "2024"}, {parentPath("Work/Projects/2024"), parentPath("Work"), leafOf("Work/Projects/2024")}, "paths")
t's same("Home" & linefeed & "Work" & linefeed & "  Alpha" & linefeed & "    Deep" & linefeed & "  Beta", treeText({"Work", "Work/Beta", "Home", "Work/Alpha/Deep", "Work/Alpha"}), "tree")
end runTests
end script
