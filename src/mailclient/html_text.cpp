#include "mailclient/html_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

#include "base/text.h"

namespace quillbox::mailclient {
namespace {

constexpr std::array<std::pair<std::string_view, char32_t>, 40> kEntities = {{
    {"amp", U'&'},     {"lt", U'<'},      {"gt", U'>'},      {"quot", U'"'},     {"apos", U'\''},
    {"nbsp", U' '},    {"copy", 0xa9},    {"reg", 0xae},     {"trade", 0x2122},  {"euro", 0x20ac},
    {"pound", 0xa3},   {"yen", 0xa5},     {"cent", 0xa2},    {"sect", 0xa7},     {"para", 0xb6},
    {"deg", 0xb0},     {"middot", 0xb7},  {"bull", 0x2022},  {"hellip", 0x2026}, {"ndash", 0x2013},
    {"mdash", 0x2014}, {"lsquo", 0x2018}, {"rsquo", 0x2019}, {"ldquo", 0x201c},  {"rdquo", 0x201d},
    {"laquo", 0xab},   {"raquo", 0xbb},   {"auml", 0xe4},    {"ouml", 0xf6},     {"uuml", 0xfc},
    {"Auml", 0xc4},    {"Ouml", 0xd6},    {"Uuml", 0xdc},    {"szlig", 0xdf},    {"eacute", 0xe9},
    {"egrave", 0xe8},  {"agrave", 0xe0},  {"ccedil", 0xe7},  {"ntilde", 0xf1},   {"times", 0xd7},
}};

constexpr std::array<std::string_view, 22> kBlocks = {
    "p",  "div", "tr", "table", "ul", "ol",         "li",  "h1",      "h2",     "h3",     "h4",
    "h5", "h6",  "br", "hr",    "dl", "blockquote", "pre", "section", "header", "footer", "article"};
constexpr std::array<std::string_view, 6> kParagraphs = {"p", "h1", "h2", "h3", "blockquote", "table"};
constexpr std::array<std::string_view, 4> kSilent = {"script", "style", "head", "title"};

template <std::size_t N>
bool isOneOf(const std::array<std::string_view, N>& names, std::string_view name) {
  return std::ranges::find(names, name) != names.end();
}

bool isSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

class Reader {
 public:
  explicit Reader(std::string_view html) : html_(html) {}

  std::string read() {
    while (at_ < html_.size()) {
      if (html_[at_] == '<' && tag()) continue;
      if (silent_.empty())
        character();
      else
        ++at_;
    }
    while (!out_.empty() && isSpace(out_.back())) out_.pop_back();
    return std::move(out_);
  }

 private:
  // Consumes a tag or a comment; false when the "<" is only a character.
  bool tag() {
    if (html_.substr(at_).starts_with("<!--")) {
      const auto end = html_.find("-->", at_ + 4);
      at_ = end == std::string_view::npos ? html_.size() : end + 3;
      return true;
    }
    std::size_t i = at_ + 1;
    const bool closing = i < html_.size() && html_[i] == '/';
    if (closing) ++i;
    std::string name;
    for (; i < html_.size(); ++i) {
      const char c = html_[i];
      const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
      if (!letter) break;
      name += c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    }
    const bool declaration = i < html_.size() && (html_[i] == '!' || html_[i] == '?');
    if (name.empty() && !declaration) return false;
    char quote = 0;
    for (; i < html_.size(); ++i) {
      if (quote != 0) {
        if (html_[i] == quote) quote = 0;
      } else if (html_[i] == '"' || html_[i] == '\'') {
        quote = html_[i];
      } else if (html_[i] == '>') {
        break;
      }
    }
    // An unclosed quote would swallow the rest: the first ">" ends the tag then.
    if (i == html_.size() && quote != 0) i = std::min(html_.find('>', at_), html_.size());
    at_ = std::min(i + 1, html_.size());
    element(name, closing);
    return true;
  }

  void element(const std::string& name, bool closing) {
    if (!silent_.empty()) {
      // A head that nobody closed ends where the body begins.
      if ((closing && name == silent_) || (!closing && name == "body")) silent_.clear();
      return;
    }
    if (!closing && isOneOf(kSilent, name)) {
      silent_ = name;
      return;
    }
    if (name == "pre") preformatted_ = !closing;
    if (name == "td" || name == "th") {
      if (!closing && !out_.empty() && out_.back() != '\n') space_ = true;
      return;
    }
    if (!isOneOf(kBlocks, name)) return;
    if (name == "br") {
      while (!out_.empty() && (out_.back() == ' ' || out_.back() == '\t')) out_.pop_back();
      out_ += '\n';
      space_ = false;
      return;
    }
    lines(isOneOf(kParagraphs, name) ? 2 : 1);
    if (name == "li" && !closing) out_ += "- ";
  }

  void lines(int wanted) {
    space_ = false;
    while (!out_.empty() && (out_.back() == ' ' || out_.back() == '\t')) out_.pop_back();
    if (out_.empty()) return;
    int have = 0;
    for (auto i = out_.size(); i > 0 && out_[i - 1] == '\n'; --i) ++have;
    for (; have < wanted; ++have) out_ += '\n';
  }

  void character() {
    const char c = html_[at_];
    if (isSpace(c) && !preformatted_) {
      space_ = space_ || (!out_.empty() && out_.back() != '\n');
      ++at_;
      return;
    }
    if (space_ && !out_.empty() && out_.back() != '\n') out_ += ' ';
    space_ = false;
    if (c == '&' && entity()) return;
    if (c != '\r') out_ += c;
    ++at_;
  }

  bool entity() {
    constexpr std::size_t longest = 12;
    const auto length = html_.substr(at_, longest + 1).find(';');
    if (length == std::string_view::npos) return false;
    const auto name = html_.substr(at_ + 1, length - 1);
    char32_t decoded = 0;
    if (name.starts_with('#')) {
      const bool hex = name.size() > 1 && (name[1] == 'x' || name[1] == 'X');
      const auto digits = name.substr(hex ? 2 : 1);
      std::uint32_t value = 0;
      const auto [stop, error] =
          std::from_chars(digits.data(), digits.data() + digits.size(), value, hex ? 16 : 10);
      if (error != std::errc() || stop != digits.data() + digits.size()) return false;
      if (value == 0 || value > 0x10ffff || (value >= 0xd800 && value < 0xe000)) value = 0xfffd;
      decoded = value;
    } else {
      const auto found = std::ranges::find(kEntities, name, &std::pair<std::string_view, char32_t>::first);
      if (found == kEntities.end()) return false;
      decoded = found->second;
    }
    text::appendUtf8(out_, decoded);
    at_ += length + 1;
    return true;
  }

  std::string_view html_;
  std::size_t at_ = 0;
  std::string out_;
  std::string silent_;  // the element whose content is left out
  bool space_ = false;
  bool preformatted_ = false;
};

}  // namespace

std::string htmlToText(std::string_view html) {
  return Reader(html).read();
}

}  // namespace quillbox::mailclient
