// Dates: seconds of local wall-clock time, their parts and their texts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "applescript/code.h"

namespace quillbox::applescript {

inline constexpr std::int64_t kSecondsPerDay = 86'400;

struct DateParts {
  std::int64_t year = 1970;
  int month = 1;          // 1 to 12
  int day = 1;            // 1 to 31
  int weekday = 5;        // 1 is Sunday
  std::int64_t time = 0;  // seconds since midnight
};

DateParts partsOf(std::int64_t localSeconds);
// Days beyond the month's end run over into the next, as do months beyond the year.
std::int64_t secondsOf(std::int64_t year, std::int64_t month, std::int64_t day, std::int64_t time);

// "Thursday, January 1, 2015 at 12:00:00 AM" and its pieces.
std::string dateText(std::int64_t localSeconds);
std::string dateString(std::int64_t localSeconds);
std::string timeString(std::int64_t localSeconds);
std::string shortDateString(std::int64_t localSeconds);  // 1/31/15

// Reads what dateText() writes, "March 5, 2024", "5 March 2024 14:05", "3/5/2024 2:05 PM",
// "2024-03-05T14:05:06" and times alone, which are of the day of `now`. nullopt for anything else.
std::optional<std::int64_t> parseDate(std::string_view text, std::int64_t now);

// Constants of months (1 to 12) and weekdays (1 is Sunday); 0 for other codes.
Code monthCode(int month);
Code weekdayCode(int weekday);
int monthOf(Code code);
int weekdayOf(Code code);

}  // namespace quillbox::applescript
