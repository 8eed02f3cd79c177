#include "applescript/lexer.h"

#include <fmt/format.h>

#include "applescript/numbers.h"
#include "base/number.h"
#include "base/text.h"

namespace quillbox::applescript {

namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
bool isAsciiLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

struct SymbolRow {
  std::string_view written;
  std::string_view canonical;
};

// Longest first among those that begin alike.
constexpr SymbolRow kSymbols[] = {
    {"≠", "≠"}, {"/=", "≠"}, {"≤", "≤"}, {"<=", "≤"}, {"≥", "≥"}, {">=", "≥"}, {"÷", "/"},   {"<", "<"},
    {">", ">"}, {"=", "="},  {"+", "+"}, {"-", "-"},  {"*", "*"}, {"/", "/"},  {"^", "^"},   {"&", "&"},
    {"(", "("}, {")", ")"},  {"{", "{"}, {"}", "}"},  {",", ","}, {":", ":"},  {"'s", "'s"},
};

class Lexer {
 public:
  Lexer(std::string_view source, std::vector<Token>& tokens) : source_(source), tokens_(tokens) {}

  Outcome<void> run() {
    if (source_.starts_with("\xEF\xBB\xBF")) at_ = 3;
    if (!text::isValidUtf8(source_)) return invalidByte();
    while (at_ < source_.size()) {
      if (auto done = next(); !done) return done;
    }
    begin_ = at_;
    add(TokenKind::End);
    return {};
  }

 private:
  char peek(std::size_t ahead = 0) const {
    return at_ + ahead < source_.size() ? source_[at_ + ahead] : '\0';
  }
  bool looking(std::string_view text) const { return source_.substr(at_).starts_with(text); }

  Token& add(TokenKind kind, std::string text = {}) {
    Token token;
    token.kind = kind;
    token.line = line_;
    token.column = columnOf(begin_);
    token.begin = static_cast<std::uint32_t>(begin_);
    token.end = static_cast<std::uint32_t>(at_);
    token.text = std::move(text);
    tokens_.push_back(std::move(token));
    return tokens_.back();
  }

  // Counts on from the last question, since a line may be the whole file.
  int columnOf(std::size_t byte) {
    if (countedFrom_ != lineStart_ || counted_ > byte) {
      countedFrom_ = counted_ = lineStart_;
      column_ = 1;
    }
    for (; counted_ < byte; ++counted_) column_ += (source_[counted_] & 0xC0) != 0x80 ? 1 : 0;
    return column_;
  }

  std::unexpected<Failure> wrong(std::string_view expected, std::string_view found) {
    auto result = failure(error::syntax, wording(error::syntax, {expected, found}));
    result.error().line = line_;
    result.error().column = columnOf(begin_);
    result.error().atCompileTime = true;
    return result;
  }

  std::unexpected<Failure> invalidByte() {
    for (std::size_t at = at_; at < source_.size();) {
      const auto before = at;
      const auto c = text::nextCodePoint(source_, at);
      if (c == 0xFFFD && source_.substr(before, 3) != "\uFFFD") {
        begin_ = before;
        return wrong("UTF-8 text", fmt::format("byte 0x{:02X}", static_cast<unsigned char>(source_[before])));
      }
      if (c == '\n') {
        ++line_;
        lineStart_ = at;
      }
    }
    return wrong("UTF-8 text", "something else");
  }

  void newLine() {
    // A carriage return with its line feed is one break.
    at_ += peek() == '\r' && peek(1) == '\n' ? 2 : 1;
    ++line_;
    lineStart_ = at_;
  }

  bool skipSpace() {
    const char c = peek();
    if (c == ' ' || c == '\t') {
      ++at_;
      return true;
    }
    for (const std::string_view space : {"\u00A0", "\u2003", "\u2009", "\u3000", "\uFEFF"}) {
      if (looking(space)) {
        at_ += space.size();
        return true;
      }
    }
    return false;
  }

  void skipLineComment() {
    while (at_ < source_.size() && peek() != '\n' && peek() != '\r') ++at_;
  }

  Outcome<void> skipBlockComment() {
    begin_ = at_;
    const int startLine = line_;
    const auto startOfLine = lineStart_;
    int depth = 0;
    while (at_ < source_.size()) {
      if (looking("(*")) {
        ++depth;
        at_ += 2;
      } else if (looking("*)")) {
        at_ += 2;
        if (--depth == 0) return {};
      } else if (peek() == '\n' || peek() == '\r') {
        newLine();
      } else {
        ++at_;
      }
    }
    line_ = startLine;
    lineStart_ = startOfLine;
    return wrong("“*)”", "end of script");
  }

  Outcome<void> continueLine() {
    begin_ = at_;
    at_ += std::string_view("¬").size();
    while (skipSpace()) {
    }
    if (looking("--") || peek() == '#') skipLineComment();
    if (at_ >= source_.size()) return {};
    if (peek() != '\n' && peek() != '\r') return wrong("end of line", "something else");
    newLine();
    return {};
  }

  Outcome<void> next() {
    if (skipSpace()) return {};
    begin_ = at_;
    const char c = peek();
    if (c == '\n' || c == '\r') {
      if (!tokens_.empty() && tokens_.back().kind != TokenKind::NewLine) add(TokenKind::NewLine);
      newLine();
      return {};
    }
    if (looking("--") || c == '#') {
      skipLineComment();
      return {};
    }
    if (looking("(*")) return skipBlockComment();
    if (looking("¬")) return continueLine();
    if (c == '"') return string();
    if (looking("“")) return wrong("expression", "“");
    if (c == '|') return piped();
    if (looking("«")) return raw();
    if (isDigit(c) || (c == '.' && isDigit(peek(1)))) return number();
    if (isAsciiLetter(c) || c == '_' || (c & 0x80) != 0) {
      if (word()) return {};
    }
    return symbol();
  }

  bool word() {
    std::size_t at = at_;
    while (at < source_.size()) {
      const char c = source_[at];
      if (isAsciiLetter(c) || isDigit(c) || c == '_') {
        ++at;
        continue;
      }
      if ((c & 0x80) == 0) break;
      std::size_t after = at;
      if (!text::isLetterMarkOrNumber(text::nextCodePoint(source_, after))) break;
      at = after;
    }
    if (at == at_) return false;
    auto folded = fold(source_.substr(at_, at - at_));
    // The only words with an apostrophe inside.
    if ((folded == "isn" || folded == "doesn" || folded == "aren" || folded == "don") &&
        (source_.substr(at).starts_with("'t") || source_.substr(at).starts_with("’t"))) {
      at += source_[at] == '\'' ? 2 : 4;
      folded += "'t";
    }
    at_ = at;
    add(TokenKind::Word, std::move(folded));
    return true;
  }

  static std::string fold(std::string_view word) {
    std::string folded(word);
    for (char& c : folded) {
      if ((c & 0x80) != 0) return text::foldCase(word);
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    }
    return folded;
  }

  Outcome<void> number() {
    while (isDigit(peek())) ++at_;
    bool real = false;
    if (peek() == '.' && (isDigit(peek(1)) || !isAsciiLetter(peek(1)))) {
      real = true;
      ++at_;
      while (isDigit(peek())) ++at_;
    }
    if ((peek() == 'e' || peek() == 'E') &&
        (isDigit(peek(1)) || ((peek(1) == '+' || peek(1) == '-') && isDigit(peek(2))))) {
      real = true;
      at_ += 2;
      while (isDigit(peek())) ++at_;
    }
    std::string digits(source_.substr(begin_, at_ - begin_));
    if (!real) {
      const auto suffix = fold(source_.substr(at_, 2));
      if ((suffix == "st" || suffix == "nd" || suffix == "rd" || suffix == "th") && !isAsciiLetter(peek(2)) &&
          digits.size() < 10) {
        at_ += 2;
        add(TokenKind::Ordinal).integer = std::stoll(digits);
        return {};
      }
      if (digits.size() < 19 && std::stoll(digits) <= kLargestInteger) {
        add(TokenKind::Integer, digits).integer = std::stoll(digits);
        return {};
      }
    }
    if (digits.back() == '.') digits += '0';
    if (digits.front() == '.') digits.insert(0, "0");
    const auto value = parseReal(digits);
    if (!value) return wrong("number", "a number that is too large");
    add(TokenKind::Real, digits).real = *value;
    return {};
  }

  Outcome<void> string() {
    const int startLine = line_;
    const auto startOfLine = lineStart_;
    std::string contents;
    ++at_;
    for (;;) {
      // Everything up to the next byte that means something, in one piece.
      const auto stop = std::min(source_.find_first_of("\"\\\n\r", at_), source_.size());
      contents.append(source_.substr(at_, stop - at_));
      at_ = stop;
      if (contents.size() > kLongestLiteral) {
        line_ = startLine;
        lineStart_ = startOfLine;
        return wrong(fmt::format("a string of at most {} bytes", kLongestLiteral), "a longer one");
      }
      if (at_ >= source_.size()) {
        line_ = startLine;
        lineStart_ = startOfLine;
        return wrong("“\"”", "end of script");
      }
      const char c = peek();
      if (c == '"') break;
      if (c == '\n' || c == '\r') {
        const auto before = at_;
        newLine();
        contents.append(source_.substr(before, at_ - before));
        continue;
      }
      ++at_;
      switch (peek()) {
        case 'n':
          contents += '\n';
          break;
        case 'r':
          contents += '\r';
          break;
        case 't':
          contents += '\t';
          break;
        case '"':
          contents += '"';
          break;
        case '\\':
          contents += '\\';
          break;
        default:
          begin_ = at_ - 1;
          return wrong("“\"”", "unknown token");
      }
      ++at_;
    }
    ++at_;
    auto& token = add(TokenKind::String, std::move(contents));
    token.line = startLine;
    if (startLine != line_) token.column = columnIn(startOfLine);
    return {};
  }

  int columnIn(std::size_t lineStart) const {
    int column = 1;
    for (std::size_t i = lineStart; i < begin_; ++i) column += (source_[i] & 0xC0) != 0x80 ? 1 : 0;
    return column;
  }

  Outcome<void> piped() {
    std::string name;
    ++at_;
    while (peek() != '|') {
      if (at_ >= source_.size() || peek() == '\n' || peek() == '\r') return wrong("“|”", "end of line");
      if (peek() == '\\' && (peek(1) == '|' || peek(1) == '\\')) ++at_;
      name += source_[at_++];
    }
    ++at_;
    if (name.empty()) return wrong("identifier", "“||”");
    add(TokenKind::Piped, std::move(name));
    return {};
  }

  Outcome<void> raw() {
    const auto opening = std::string_view("«").size();
    const auto end = source_.find("»", at_);
    const auto contents =
        source_.substr(at_ + opening, end == std::string_view::npos ? 0 : end - at_ - opening);
    if (contents.empty() || contents.find_first_of("\n\r") != std::string_view::npos)
      return wrong("“»”", "end of line");
    at_ = end + std::string_view("»").size();
    add(TokenKind::Raw, std::string(contents));
    return {};
  }

  Outcome<void> symbol() {
    for (const auto& row : kSymbols) {
      if (!looking(row.written)) continue;
      if (row.written == "'s" && (isAsciiLetter(peek(2)) || isDigit(peek(2)) || peek(2) == '_')) continue;
      at_ += row.written.size();
      add(TokenKind::Symbol, std::string(row.canonical));
      return {};
    }
    std::size_t after = at_;
    text::nextCodePoint(source_, after);
    return wrong("expression", "unknown token");
  }

  std::string_view source_;
  std::vector<Token>& tokens_;
  std::size_t at_ = 0;
  std::size_t begin_ = 0;
  int line_ = 1;
  std::size_t lineStart_ = 0;
  std::size_t countedFrom_ = 0;
  std::size_t counted_ = 0;
  int column_ = 1;
};

}  // namespace

Outcome<void> tokenize(std::string_view source, std::vector<Token>& tokens) {
  return Lexer(source, tokens).run();
}

}  // namespace quillbox::applescript
