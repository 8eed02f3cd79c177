// The frames of the encrypted suggestions log: sealing records, and finding them again in whatever is left of
// a file. docs/LOGS.md describes the layout.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace quillbox::log_frames {

inline constexpr std::size_t secretSize = 32;
inline constexpr std::size_t fileHeaderSize = 32;
inline constexpr std::size_t frameHeaderSize = 40;
inline constexpr std::size_t tagSize = 16;
inline constexpr std::size_t maxRecordSize = 256U << 20U;  // bytes

// What is derived from the secret; wiped from memory when destroyed.
class Keys {
 public:
  // Fails with error_number::damagedFile unless the secret is 32 bytes long.
  static Result<Keys> derive(std::string_view secret);
  ~Keys();
  Keys(const Keys&) = default;
  Keys& operator=(const Keys&) = default;

  std::array<std::uint8_t, 32> record{};
  std::array<std::uint8_t, 16> header{};
  std::array<std::uint8_t, 16> fingerprint{};

 private:
  Keys() = default;
};

std::string fileHeader(const Keys& keys);

enum class FileHeader {
  ours,
  otherSecret,  // whole, but of a log that another secret sealed
  none
};
FileHeader readFileHeader(std::string_view file, const Keys& keys);

// Appends the frame of `record` to `out`. `position` is where in the file the frame will begin; `random` must
// be new for every frame. `record` is at most maxRecordSize long.
void appendFrame(std::string& out, const Keys& keys, std::uint64_t position,
                 const std::array<std::uint8_t, 16>& random, std::string_view record);

struct Record {
  std::uint64_t position = 0;  // where it was written
  std::uint64_t offset = 0;    // where it was found
  std::string text;
};

struct Problem {
  std::uint64_t offset = 0;  // bytes from the start of the file
  std::uint64_t length = 0;  // bytes concerned
  std::string reason;
};

struct Scan {
  FileHeader header = FileHeader::none;
  std::vector<Record> records;  // in the order in which they were written
  std::vector<Problem> problems;
};

// Reads a whole file. Any bytes give a result, in time that grows with their number alone.
Scan scan(std::string_view file, const Keys& keys);

}  // namespace quillbox::log_frames
