// Arbitrary damage to an encrypted suggestions log: whatever is read afterwards was written before, each
// record once, and damage is never silent.
//
// The input is a list of edits to a good file: one byte says which, then two 16-bit numbers say where (scaled
// to the file's size), and some take what follows as bytes.
#include "suggestions/log_frames.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "require.h"

namespace {

using namespace quillbox;

const log_frames::Keys& keys() {
  static const auto made = log_frames::Keys::derive("0123456789abcdef0123456789abcdef");
  return *made;
}

std::string recordText(std::size_t number) {
  return std::to_string(number) + std::string(number % 11, static_cast<char>('a' + number));
}

constexpr std::size_t kRecords = 24;

const std::string& goodFile() {
  static const std::string file = [] {
    std::string bytes = log_frames::fileHeader(keys());
    for (std::size_t i = 0; i < kRecords; ++i) {
      std::array<std::uint8_t, 16> random{};
      random[0] = static_cast<std::uint8_t>(i);
      log_frames::appendFrame(bytes, keys(), bytes.size(), random, recordText(i));
    }
    return bytes;
  }();
  return file;
}

class Input {
 public:
  explicit Input(std::string_view bytes) : bytes_(bytes) {}
  bool empty() const { return bytes_.empty(); }
  std::size_t byte() {
    if (bytes_.empty()) return 0;
    const auto value = static_cast<unsigned char>(bytes_.front());
    bytes_.remove_prefix(1);
    return value;
  }
  // A place in a text of `size` bytes.
  std::size_t place(std::size_t size) {
    const std::size_t number = byte() * 256 + byte();
    return size == 0 ? 0 : number % size;
  }
  std::string_view take(std::size_t count) {
    const std::string_view taken = bytes_.substr(0, count);
    bytes_.remove_prefix(taken.size());
    return taken;
  }

 private:
  std::string_view bytes_;
};

void edit(std::string& file, Input& input) {
  const std::size_t kind = input.byte() % 6;
  const std::size_t a = input.place(file.size() + 1);
  const std::size_t b = input.place(file.size() + 1);
  const auto [first, last] = std::minmax(a, b);
  switch (kind) {
    case 0:  // flip one bit
      if (a < file.size()) file[a] = static_cast<char>(file[a] ^ (1 << (b % 8)));
      break;
    case 1:  // take a stretch out
      file.erase(first, last - first);
      break;
    case 2:  // tear the tail off
      file.resize(a);
      break;
    case 3:  // repeat a stretch elsewhere
      file.insert(input.place(file.size() + 1), std::string(file, first, last - first));
      break;
    case 4:  // exchange the two sides of a place
      std::rotate(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(a), file.end());
      break;
    default:  // foreign bytes
      file.insert(a, input.take(b % 64));
      break;
  }
}

// Each record is one that was written, and none comes twice.
log_frames::Scan scanForGenuineRecords(std::string_view file) {
  auto scan = log_frames::scan(file, keys());
  std::uint64_t previous = 0;
  for (const auto& record : scan.records) {
    std::size_t at = log_frames::fileHeaderSize;
    std::size_t number = 0;
    while (at < record.position) {
      at += log_frames::frameHeaderSize + recordText(number++).size() + log_frames::tagSize;
    }
    require(at == record.position && number < kRecords && record.text == recordText(number));
    require(record.position > previous);
    previous = record.position;
  }
  return scan;
}

void check(const std::string& file) {
  const auto scan = scanForGenuineRecords(file);
  // Only frames cut off at the end leave nothing that could be noticed.
  if (scan.problems.empty() && !goodFile().starts_with(file)) {
    require(scan.records.empty() ? file.size() <= log_frames::fileHeaderSize : file.starts_with(goodFile()));
  }
  if (file == goodFile()) require(scan.records.size() == kRecords && scan.problems.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  // As a file of its own: the fuzzer learns whole frames by watching comparisons, so even that may hold
  // records ...
  scanForGenuineRecords(bytes);
  // ... and as edits.
  std::string file = goodFile();
  Input input(bytes);
  for (int edits = 0; edits < 12 && !input.empty() && file.size() < 100'000; ++edits) edit(file, input);
  check(file);
  return 0;
}
