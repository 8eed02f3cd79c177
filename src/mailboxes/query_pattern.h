// What a typed query means: the regular expression that a mailbox's path (or name) has to match as a whole.
#pragma once

#include <string>
#include <string_view>

namespace quillbox {

enum class CaseMode { insensitive, sensitive };

// One query, folded and escaped. The pattern is
//   "(?i)(.*)" + fragment + "(.*)"     without "(?i)" when the case counts,
// where the fragment is the folded query with " " as "(.*)", the characters ( ) * + . ? [ \ ] ^ | escaped,
// tab, CR and LF as \t, \r, \n, the other control characters below 32 dropped, and all else as it is; $ { }
// are left unescaped on purpose.
class QueryPattern {
 public:
  // `query` as typed; its diacritics are folded here.
  QueryPattern(std::string_view query, CaseMode mode);

  // The folded query is empty: every mailbox matches and the pattern is not asked.
  bool isEmpty() const { return folded_.empty(); }
  const std::string& folded() const { return folded_; }
  CaseMode caseMode() const { return mode_; }
  std::string pattern() const;

 private:
  std::string folded_;
  CaseMode mode_;
};

// The fragment of a folded query.
std::string escapeQuery(std::string_view folded);

}  // namespace quillbox
