#include "suggestions/advanced_log_manager.h"

#include <cerrno>
#include <functional>

#include <fmt/format.h>

#include "base/text.h"

namespace quillbox {
namespace {

// How much of a record that does not decode goes into the diagnostics.
constexpr std::size_t kQuotedBytes = 200;

std::string_view fileName(AdvancedLogMode mode) {
  return mode == AdvancedLogMode::encrypted ? "quillbox-suggestions-log.enc" : "quillbox-suggestions-log.txt";
}

std::string quote(std::string_view record) {
  if (record.size() <= kQuotedBytes) return text::singleLine(text::toValidUtf8(record));
  std::size_t cut = kQuotedBytes;
  // Not within a character.
  while (cut > kQuotedBytes - 4 && (static_cast<unsigned char>(record[cut]) & 0xC0U) == 0x80U) --cut;
  return fmt::format("{}… ({} bytes)", text::singleLine(text::toValidUtf8(record.substr(0, cut))),
                     record.size());
}

}  // namespace

AdvancedLogManager::AdvancedLogManager(const Services& services, const Path& dataFolder, AdvancedLogMode mode)
    : services_(services),
      mode_(mode),
      file_(services.files, services.random, setUpLogFile(services.files, dataFolder, fileName(mode))) {}

Result<void> AdvancedLogManager::append(const TrainingExample& example) {
  return append(std::span(&example, 1));
}

Result<void> AdvancedLogManager::append(std::span<const TrainingExample> examples) {
  if (examples.empty()) return {};
  const std::scoped_lock operation(mutex_);
  auto done = mode_ == AdvancedLogMode::encrypted ? appendEncrypted(examples) : appendPlain(examples);
  if (!done) {
    services_.log.error(fmt::format("Failed to batch append {} advanced log: {}",
                                    mode_ == AdvancedLogMode::encrypted ? "encrypted" : "plaintext",
                                    done.error().message));
  }
  return done;
}

Result<void> AdvancedLogManager::appendPlain(std::span<const TrainingExample> examples) {
  std::string lines;
  for (const TrainingExample& example : examples) {
    lines += encodeTrainingExample(example);
    lines += '\n';
  }
  const auto lock = file_.lock();
  if (!lock) return forward(lock);
  return file_.appendLines(lines);
}

Result<std::string> AdvancedLogManager::encode(std::span<const TrainingExample> examples,
                                               std::uint64_t position) {
  std::string batch = position == 0 ? log_frames::fileHeader(*keys_) : std::string();
  for (const TrainingExample& example : examples) {
    const std::string record = encodeTrainingExample(example);
    if (record.size() > log_frames::maxRecordSize) {
      return fail(EFBIG, fmt::format("The example of message {} is too long for the log ({} bytes).",
                                     quote(example.messageID), record.size()));
    }
    log_frames::appendFrame(batch, *keys_, position + batch.size(), services_.random.bytes16(), record);
  }
  return batch;
}

Result<void> AdvancedLogManager::appendEncrypted(std::span<const TrainingExample> examples) {
  const auto lock = file_.lock();
  if (!lock) return forward(lock);
  if (auto found = findKeys(); !found) return found;
  auto size = file_.size();
  if (!size) return forward(size);
  if (*size > 0) {
    const auto header = services_.files.readRange(file_.path(), 0, log_frames::fileHeaderSize);
    if (!header) return forward(header);
    if (log_frames::readFileHeader(*header, *keys_) == log_frames::FileHeader::otherSecret) {
      const auto file = file_.read();
      if (!file) return forward(file);
      // Damage to the header alone looks the same: only a log without one readable record is another
      // secret's.
      if (log_frames::scan(*file, *keys_).records.empty()) {
        if (auto kept = keepForeignLogAside(*file); !kept) return kept;
        *size = 0;
      }
    }
  }
  const auto batch = encode(examples, *size);
  if (!batch) return forward(batch);
  return file_.appendDurably(*batch);
}

Result<void> AdvancedLogManager::findKeys() {
  if (keys_) return {};
  auto secret = services_.secrets.read(suggestionsLogSecret);
  if (!secret) return forward(secret);
  if (!*secret) {
    std::string made;
    while (made.size() < log_frames::secretSize) {
      const auto random = services_.random.bytes16();
      made.append(reinterpret_cast<const char*>(random.data()), random.size());
    }
    if (auto written = services_.secrets.write(suggestionsLogSecret, made); !written) return written;
    *secret = std::move(made);
  }
  auto keys = log_frames::Keys::derive(**secret);
  if (!keys) return forward(keys);
  keys_ = *keys;
  return {};
}

Result<void> AdvancedLogManager::keepForeignLogAside(std::string_view file) {
  const auto kept = file_.keepAside();
  if (!kept) return forward(kept);
  services_.log.error(
      fmt::format("The secret of the suggestions log was lost: nothing in it can be read any more. The old "
                  "log ({} bytes) is kept "
                  "as {}, a new one begins.",
                  file.size(), kept->string()));
  return {};
}

Result<std::vector<log_frames::Record>> AdvancedLogManager::readFrames() {
  std::string file;
  {
    const auto lock = file_.lock();
    if (!lock) return forward(lock);
    auto bytes = file_.read();
    if (!bytes) return forward(bytes);
    if (bytes->empty()) return {};
    file = std::move(*bytes);
    if (auto found = findKeys(); !found) return forward(found);
    if (log_frames::readFileHeader(file, *keys_) == log_frames::FileHeader::otherSecret &&
        log_frames::scan(file, *keys_).records.empty()) {
      if (auto kept = keepForeignLogAside(file); !kept) return forward(kept);
      return {};
    }
  }
  auto found = log_frames::scan(file, *keys_);
  for (const auto& problem : found.problems) {
    skipped(problem.length == 0
                ? fmt::format("at byte {}", problem.offset)
                : fmt::format("bytes {} to {}", problem.offset, problem.offset + problem.length - 1),
            problem.reason);
  }
  return std::move(found.records);
}

Result<void> AdvancedLogManager::readRecords(const std::function<void(std::string_view record)>& each) {
  const auto read = [&]() -> Result<void> {
    if (mode_ == AdvancedLogMode::encrypted) {
      const auto records = readFrames();
      if (!records) return forward(records);
      for (const auto& record : *records) each(record.text);
      return {};
    }
    Result<std::string> file;
    {
      const auto lock = file_.lock();
      if (!lock) return forward(lock);
      file = file_.read();
    }
    if (!file) return forward(file);
    std::string_view rest = *file;
    while (!rest.empty()) {
      const std::size_t end = std::min(rest.find('\n'), rest.size());
      if (end > 0) each(rest.substr(0, end));
      rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return {};
  };
  auto done = read();
  if (!done) services_.log.error("Failed to read advanced log: " + done.error().message);
  return done;
}

Result<std::vector<TrainingExample>> AdvancedLogManager::loadAll() {
  const std::scoped_lock operation(mutex_);
  std::vector<TrainingExample> examples;
  auto read = readRecords([&](std::string_view record) {
    if (auto example = decodeTrainingExample(record)) {
      examples.push_back(std::move(*example));
    } else {
      skipped(quote(record), example.error().message);
    }
  });
  if (!read) return forward(read);
  return examples;
}

Result<std::string> AdvancedLogManager::text() {
  const std::scoped_lock operation(mutex_);
  std::string lines;
  auto read = readRecords([&](std::string_view record) {
    lines += text::toValidUtf8(record);
    lines += '\n';
  });
  if (!read) return forward(read);
  return lines;
}

Result<void> AdvancedLogManager::clear() {
  const std::scoped_lock operation(mutex_);
  const auto lock = file_.lock();
  auto done = lock ? file_.replace("") : forward(lock);
  if (done) {
    services_.log.info("Advanced log cleared");
  } else {
    services_.log.error("Failed to clear advanced log: " + done.error().message);
  }
  return done;
}

void AdvancedLogManager::skipped(std::string_view record, std::string_view reason) {
  services_.log.error(fmt::format("Skipping corrupt advanced log entry: {}: {}", record, reason));
}

}  // namespace quillbox
