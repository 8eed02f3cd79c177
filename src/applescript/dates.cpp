#include "applescript/dates.h"

#include <array>
#include <vector>

#include <fmt/format.h>

#include "base/text.h"

namespace quillbox::applescript {

namespace {

struct NamedCode {
  std::string_view name;
  Code code;
};

constexpr std::array<NamedCode, 12> kMonths = {{{"January", code("jan ")},
                                                {"February", code("feb ")},
                                                {"March", code("mar ")},
                                                {"April", code("apr ")},
                                                {"May", code("may ")},
                                                {"June", code("jun ")},
                                                {"July", code("jul ")},
                                                {"August", code("aug ")},
                                                {"September", code("sep ")},
                                                {"October", code("oct ")},
                                                {"November", code("nov ")},
                                                {"December", code("dec ")}}};

constexpr std::array<NamedCode, 7> kWeekdays = {{{"Sunday", code("sun ")},
                                                 {"Monday", code("mon ")},
                                                 {"Tuesday", code("tue ")},
                                                 {"Wednesday", code("wed ")},
                                                 {"Thursday", code("thu ")},
                                                 {"Friday", code("fri ")},
                                                 {"Saturday", code("sat ")}}};

std::int64_t floorDivide(std::int64_t a, std::int64_t b) {
  return a / b - (a % b != 0 && (a < 0) != (b < 0));
}

// Days since 1970-01-01 of a day in the proleptic Gregorian calendar, counted in eras of 400 years that begin
// in March.
std::int64_t daysOf(std::int64_t year, std::int64_t month, std::int64_t day) {
  year -= month <= 2 ? 1 : 0;
  const auto era = floorDivide(year, 400);
  const auto yearOfEra = year - era * 400;
  const auto dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const auto dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468;
}

template <std::size_t N>
int indexOf(const std::array<NamedCode, N>& names, Code wanted) {
  for (std::size_t i = 0; i < N; ++i) {
    if (names[i].code == wanted) return static_cast<int>(i) + 1;
  }
  return 0;
}

// A word that begins a name with at least three letters: "Sept", "march".
template <std::size_t N>
int indexOfWord(const std::array<NamedCode, N>& names, std::string_view word) {
  for (std::size_t i = 0; i < N; ++i) {
    if (word.size() >= 3 && text::foldCase(names[i].name).starts_with(word)) return static_cast<int>(i) + 1;
  }
  return 0;
}

int daysInMonth(std::int64_t year, int month) {
  return static_cast<int>(daysOf(month == 12 ? year + 1 : year, month == 12 ? 1 : month + 1, 1) -
                          daysOf(year, month, 1));
}

// One number, word or mark of a date text.
struct Piece {
  enum class Kind : std::uint8_t { Number, Word, Mark } kind;
  std::string text;
  std::int64_t number = 0;
};

std::optional<std::vector<Piece>> split(std::string_view text) {
  std::vector<Piece> pieces;
  for (std::size_t i = 0; i < text.size();) {
    const char c = text[i];
    std::size_t end = i + 1;
    if (c >= '0' && c <= '9') {
      while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
      if (end - i > 6) return std::nullopt;
      pieces.push_back({Piece::Kind::Number, std::string(text.substr(i, end - i)),
                        std::stoll(std::string(text.substr(i, end - i)))});
    } else if ((c | 0x20) >= 'a' && (c | 0x20) <= 'z') {
      while (end < text.size() && (text[end] | 0x20) >= 'a' && (text[end] | 0x20) <= 'z') ++end;
      pieces.push_back({Piece::Kind::Word, text::foldCase(text.substr(i, end - i))});
    } else if (c == ':' || c == '/' || c == '-' || c == '.') {
      pieces.push_back({Piece::Kind::Mark, std::string(1, c)});
    } else if (c != ' ' && c != ',' && c != '\t' && !text.substr(i).starts_with("\u202F")) {
      return std::nullopt;
    } else if (text.substr(i).starts_with("\u202F")) {
      end = i + 3;
    }
    i = end;
  }
  return pieces;
}

class DateParser {
 public:
  explicit DateParser(std::vector<Piece> pieces) : pieces_(std::move(pieces)) {}

  std::optional<std::int64_t> parse(std::int64_t now) {
    while (at_ < pieces_.size()) {
      if (!next()) return std::nullopt;
    }
    if (!hour_ && numbers_.empty() && month_ == 0) return std::nullopt;
    const auto today = partsOf(now);
    std::int64_t year = today.year;
    std::int64_t day = today.day;
    int month = month_;
    if (month_ != 0) {
      // With the month as a word the day comes before the year.
      if (numbers_.empty() || numbers_.size() > 2) return std::nullopt;
      day = numbers_[0];
      if (numbers_.size() == 2) year = fullYear(numbers_[1]);
      if (day > 31 && numbers_.size() == 2) std::swap(day, year);
    } else if (numbers_.empty()) {
      month = today.month;
    } else if (numbers_.size() == 3 && numbers_[0] > 31) {
      year = numbers_[0];
      month = static_cast<int>(numbers_[1]);
      day = numbers_[2];
    } else if (numbers_.size() >= 2 && numbers_.size() <= 3) {
      month = static_cast<int>(numbers_[0]);
      day = numbers_[1];
      if (numbers_.size() == 3) year = fullYear(numbers_[2]);
    } else {
      return std::nullopt;
    }
    if (month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month)) return std::nullopt;
    std::int64_t hour = hour_.value_or(0);
    if (half_ != 0) {
      if (!hour_ || hour < 1 || hour > 12) return std::nullopt;
      hour = hour % 12 + (half_ == 'p' ? 12 : 0);
    }
    if (hour > 23 || minute_ > 59 || second_ > 59) return std::nullopt;
    return secondsOf(year, month, day, hour * 3600 + minute_ * 60 + second_);
  }

 private:
  static std::int64_t fullYear(std::int64_t year) {
    return year < 50 ? 2000 + year : year < 100 ? 1900 + year : year;
  }
  bool isMark(std::size_t at, char mark) const {
    return at < pieces_.size() && pieces_[at].kind == Piece::Kind::Mark && pieces_[at].text[0] == mark;
  }
  bool isNumber(std::size_t at) const {
    return at < pieces_.size() && pieces_[at].kind == Piece::Kind::Number;
  }

  bool next() {
    const auto& piece = pieces_[at_];
    if (piece.kind == Piece::Kind::Mark) return ++at_, piece.text != ":";
    if (piece.kind == Piece::Kind::Word) return word(piece.text);
    if (isMark(at_ + 1, ':') && isNumber(at_ + 2)) {
      if (hour_) return false;
      hour_ = piece.number;
      minute_ = pieces_[at_ + 2].number;
      at_ += 3;
      if (isMark(at_, ':') && isNumber(at_ + 1)) {
        second_ = pieces_[at_ + 1].number;
        at_ += 2;
      }
      return true;
    }
    // "2 PM"
    if (at_ + 1 < pieces_.size() && (pieces_[at_ + 1].text == "am" || pieces_[at_ + 1].text == "pm")) {
      if (hour_) return false;
      hour_ = piece.number;
      ++at_;
      return true;
    }
    numbers_.push_back(piece.number);
    ++at_;
    return true;
  }

  bool word(std::string_view text) {
    ++at_;
    if (text == "at" || text == "t" || text == "st" || text == "nd" || text == "rd" || text == "th")
      return true;
    if (text == "am" || text == "pm") {
      half_ = text[0];
      return true;
    }
    if (indexOfWord(kWeekdays, text) != 0) return true;
    if (month_ != 0) return false;
    month_ = indexOfWord(kMonths, text);
    return month_ != 0;
  }

  std::vector<Piece> pieces_;
  std::size_t at_ = 0;
  std::vector<std::int64_t> numbers_;
  int month_ = 0;
  std::optional<std::int64_t> hour_;
  std::int64_t minute_ = 0;
  std::int64_t second_ = 0;
  char half_ = 0;
};

}  // namespace

DateParts partsOf(std::int64_t localSeconds) {
  const auto days = floorDivide(localSeconds, kSecondsPerDay);
  DateParts parts;
  parts.time = localSeconds - days * kSecondsPerDay;
  const auto weekday = (days + 4) % 7;
  parts.weekday = static_cast<int>(weekday < 0 ? weekday + 7 : weekday) + 1;
  const auto shifted = days + 719468;
  const auto era = floorDivide(shifted, 146097);
  const auto dayOfEra = shifted - era * 146097;
  const auto yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const auto dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const auto marchMonth = (5 * dayOfYear + 2) / 153;
  parts.day = static_cast<int>(dayOfYear - (153 * marchMonth + 2) / 5 + 1);
  parts.month = static_cast<int>(marchMonth < 10 ? marchMonth + 3 : marchMonth - 9);
  parts.year = yearOfEra + era * 400 + (parts.month <= 2 ? 1 : 0);
  return parts;
}

std::int64_t secondsOf(std::int64_t year, std::int64_t month, std::int64_t day, std::int64_t time) {
  const auto extraYears = floorDivide(month - 1, 12);
  const auto days = daysOf(year + extraYears, month - extraYears * 12, 1) + day - 1;
  return days * kSecondsPerDay + time;
}

std::string dateText(std::int64_t localSeconds) {
  return dateString(localSeconds) + " at " + timeString(localSeconds);
}

std::string dateString(std::int64_t localSeconds) {
  const auto parts = partsOf(localSeconds);
  return fmt::format("{}, {} {}, {}", kWeekdays[static_cast<std::size_t>(parts.weekday - 1)].name,
                     kMonths[static_cast<std::size_t>(parts.month - 1)].name, parts.day, parts.year);
}

std::string timeString(std::int64_t localSeconds) {
  const auto time = partsOf(localSeconds).time;
  const auto hour = time / 3600;
  return fmt::format("{}:{:02}:{:02} {}", hour % 12 == 0 ? 12 : hour % 12, time / 60 % 60, time % 60,
                     hour < 12 ? "AM" : "PM");
}

std::string shortDateString(std::int64_t localSeconds) {
  const auto parts = partsOf(localSeconds);
  return fmt::format("{}/{}/{:02}", parts.month, parts.day, ((parts.year % 100) + 100) % 100);
}

std::optional<std::int64_t> parseDate(std::string_view text, std::int64_t now) {
  auto pieces = split(text);
  if (!pieces || pieces->empty()) return std::nullopt;
  return DateParser(std::move(*pieces)).parse(now);
}

Code monthCode(int month) {
  return month >= 1 && month <= 12 ? kMonths[static_cast<std::size_t>(month - 1)].code : 0;
}
Code weekdayCode(int weekday) {
  return weekday >= 1 && weekday <= 7 ? kWeekdays[static_cast<std::size_t>(weekday - 1)].code : 0;
}
int monthOf(Code code) {
  return indexOf(kMonths, code);
}
int weekdayOf(Code code) {
  return indexOf(kWeekdays, code);
}

}  // namespace quillbox::applescript
