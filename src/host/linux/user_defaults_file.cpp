#include "host/linux/user_defaults_file.h"

#include <cerrno>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "base/bytes.h"
#include "base/error_numbers.h"
#include "base/json.h"
#include "base/text.h"
#include "base/uuid.h"
#include "host/linux/system_error.h"

namespace quillbox {
namespace {

constexpr std::uint64_t kLargestFile = 64ULL << 20U;
constexpr auto kLockWait = std::chrono::milliseconds(5000);
constexpr const char* kJson = "json";
constexpr const char* kBase64 = "base64";

// Data that is compact JSON is shown as that JSON; everything else in base64.
Json dataToJson(const Data& data) {
  Json wrapped = Json::object();
  if (auto json = parseJson(data.bytes, ""); json && writeJson(*json) == data.bytes) {
    wrapped[kJson] = *std::move(json);
  } else {
    wrapped[kBase64] = toBase64(data.bytes);
  }
  return wrapped;
}

Json toJson(const DefaultsValue& value) {
  if (const auto* data = std::get_if<Data>(&value)) return dataToJson(*data);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag;
  if (const auto* integer = std::get_if<std::int64_t>(&value)) return *integer;
  if (const auto* real = std::get_if<double>(&value)) return *real;
  return std::get<std::string>(value);
}

std::optional<DefaultsValue> fromJson(const Json& json) {
  if (json.is_boolean()) return json.get<bool>();
  if (json.is_string()) return json.get<std::string>();
  if (json.is_number_float()) return json.get<double>();
  if (json.is_number_unsigned() && json.get<std::uint64_t>() > std::numeric_limits<std::int64_t>::max())
    return std::nullopt;
  if (json.is_number_integer()) return json.get<std::int64_t>();
  if (!json.is_object() || json.size() != 1) return std::nullopt;
  if (const auto inner = json.find(kJson); inner != json.end()) return Data{writeJson(*inner)};
  if (const auto inner = json.find(kBase64); inner != json.end() && inner->is_string()) {
    if (auto bytes = fromBase64(inner->get_ref<const std::string&>())) return Data{*std::move(bytes)};
  }
  return std::nullopt;
}

Result<void> mayBeStored(std::string_view key, const DefaultsValue& value) {
  const auto* text = std::get_if<std::string>(&value);
  if (!text::isValidUtf8(key) || (text != nullptr && !text::isValidUtf8(*text))) {
    return fail(error_number::textNotUtf8, fmt::format("Can’t store the setting {}: it is not UTF-8",
                                                       text::singleLine(text::toValidUtf8(key))));
  }
  if (const auto* real = std::get_if<double>(&value); real != nullptr && !std::isfinite(*real))
    return fail(error_number::settingValueInvalid,
                fmt::format("Can’t store the setting {}: {} is no number", key, *real));
  return {};
}

// Follows links, so that a settings file that lives elsewhere is replaced there and stays linked.
Path behindLinks(FileSystem& files, Path file) {
  for (int step = 0; step < 16; ++step) {
    const auto info = files.info(file, FollowLinks::no);
    if (!info || info->kind != FileKind::symbolicLink) break;
    const auto target = files.readLink(file);
    if (!target) break;
    file = target->is_absolute() ? *target : file.parent_path() / *target;
  }
  return file;
}

}  // namespace

struct FileUserDefaults::Contents {
  Values values;
  std::map<std::string, Json> foreign;  // values of a form we do not know: kept, and never read
  std::string bytes;                    // the file they came from; empty when there is none
};

FileUserDefaults::FileUserDefaults(FileSystem& files, RandomSource& random, Log& log, Path file)
    : files_(files),
      random_(random),
      log_(log),
      file_(behindLinks(files, std::move(file))),
      lockFile_(file_),
      contents_(std::make_unique<Contents>()) {
  lockFile_ += ".lock";
  synchronize();
}

FileUserDefaults::~FileUserDefaults() = default;

std::optional<DefaultsValue> FileUserDefaults::stored(std::string_view key) const {
  const auto it = contents_->values.find(key);
  return it == contents_->values.end() ? std::nullopt : std::optional(it->second);
}

std::optional<DefaultsValue> FileUserDefaults::get(std::string_view key) const {
  if (auto value = stored(key)) return value;
  const auto it = registered_.find(key);
  return it == registered_.end() ? std::nullopt : std::optional(it->second);
}

std::vector<std::string> FileUserDefaults::storedKeys() const {
  std::vector<std::string> keys;
  for (const auto& [key, value] : contents_->values) keys.push_back(key);
  return keys;
}

Result<void> FileUserDefaults::set(std::string_view key, DefaultsValue value) {
  return apply({{std::string(key), std::move(value)}}, Overwrite::always);
}

Result<void> FileUserDefaults::setAll(std::map<std::string, DefaultsValue> values, Overwrite overwrite) {
  Changes changes;
  for (auto& [key, value] : values) changes.emplace(key, std::move(value));
  return apply(changes, overwrite);
}

Result<void> FileUserDefaults::remove(std::string_view key) {
  return apply({{std::string(key), std::nullopt}}, Overwrite::always);
}

void FileUserDefaults::registerDefaults(std::map<std::string, DefaultsValue> defaults) {
  for (auto& [key, value] : defaults) registered_.insert_or_assign(key, std::move(value));
}

Subscription FileUserDefaults::observe(std::function<void(const std::string& key)> observer) {
  return observers_.add(std::move(observer));
}

Result<FileUserDefaults::Contents> FileUserDefaults::decode(std::string bytes) const {
  auto json = parseJson(bytes, shownPath(file_));
  if (!json) return forward(json);
  if (!json->is_object())
    return fail(error_number::damagedFile, fmt::format("{} is not a JSON object.", shownPath(file_)));
  Contents contents;
  for (const auto& [key, value] : json->items()) {
    if (auto known = fromJson(value)) {
      contents.values.insert_or_assign(key, *std::move(known));
    } else {
      contents.foreign.insert_or_assign(key, value);
    }
  }
  contents.bytes = std::move(bytes);
  return contents;
}

std::string FileUserDefaults::encode(const Contents& contents) const {
  Json json = Json::object();
  std::map<std::string, Json> sorted = contents.foreign;
  for (const auto& [key, value] : contents.values) sorted.insert_or_assign(key, toJson(value));
  for (auto& [key, value] : sorted) json[key] = std::move(value);
  return writeJson(json, 2) + "\n";
}

// The file as it is now. Fails only when it cannot be read, or is damaged and cannot be kept aside.
Result<FileUserDefaults::Contents> FileUserDefaults::read(Lock lock) {
  auto bytes = files_.read(file_, kLargestFile);
  if (!bytes) {
    if (bytes.error().number == ENOENT) return Contents{};
    return forward(bytes);
  }
  if (*bytes == contents_->bytes) return *contents_;
  auto contents = decode(*std::move(bytes));
  if (contents) {
    for (const auto& [key, value] : contents->foreign) {
      if (!contents_->foreign.contains(key))
        log_.error(fmt::format("The setting {} in {} has a form that is not known; it is left alone",
                               text::singleLine(key), shownPath(file_)));
    }
    return contents;
  }
  if (lock == Lock::notHeld) {
    // Another process may be at this very step: only one moves the file.
    const auto held = files_.lock(lockFile_, kLockWait);
    if (held) return read(Lock::held);
    return fail(held.error().number,
                fmt::format("{} It can’t be kept aside: {}", contents.error().message, held.error().message));
  }
  const auto aside = keepDamagedFileAside(files_, file_);
  if (!aside) {
    return fail(aside.error().number, fmt::format("{} It can’t be kept aside: {}", contents.error().message,
                                                  aside.error().message));
  }
  log_.error(fmt::format("{} It is kept as {}, and the default settings are in force",
                         contents.error().message, shownPath(*aside)));
  return Contents{};
}

std::set<std::string> FileUserDefaults::takeOver(Contents contents) {
  std::set<std::string> changed;
  for (const auto& [key, value] : contents.values) {
    if (stored(key) != value) changed.insert(key);
  }
  for (const auto& [key, value] : contents_->values) {
    if (!contents.values.contains(key)) changed.insert(key);
  }
  *contents_ = std::move(contents);
  return changed;
}

// Drafts of processes that died; nobody else is writing while we hold the lock.
void FileUserDefaults::removeDrafts() {
  const std::string prefix = file_.filename().native() + ".";
  std::vector<Path> drafts;
  (void)files_.list(file_.parent_path(), [&](std::string_view name, FileKind) {
    if (name.starts_with(prefix) && name.ends_with(".tmp")) drafts.push_back(file_.parent_path() / name);
    return true;
  });
  for (const auto& draft : drafts) (void)files_.remove(draft);
}

// Moves a value that we do not know out of the way of one that takes its key. False when there is none.
bool FileUserDefaults::keepForeignAside(Contents& contents, const std::string& key) {
  auto held = contents.foreign.extract(key);
  if (held.empty()) return false;
  const std::string first = key + ".unreadable";
  std::string aside = first;
  for (int i = 2; contents.foreign.contains(aside) || contents.values.contains(aside); ++i) {
    aside = fmt::format("{}-{}", first, i);
  }
  log_.error(fmt::format("The setting {} of a form that is not known is kept under {}", text::singleLine(key),
                         text::singleLine(aside)));
  held.key() = std::move(aside);
  contents.foreign.insert(std::move(held));
  return true;
}

Result<void> FileUserDefaults::apply(const Changes& changes, Overwrite overwrite) {
  for (const auto& [key, value] : changes) {
    if (!value) continue;
    if (auto may = mayBeStored(key, *value); !may) return may;
  }
  std::set<std::string> changed;
  {
    auto lock = files_.lock(lockFile_, kLockWait);
    if (!lock && lock.error().number == ENOENT) {
      if (auto made = makeDirectories(files_, file_.parent_path(), 0700); !made) return made;
      lock = files_.lock(lockFile_, kLockWait);
    }
    if (!lock) return forward(lock);
    auto contents = read(Lock::held);
    if (!contents) return forward(contents);
    bool differs = false;
    for (const auto& [key, value] : changes) {
      const auto it = contents->values.find(key);
      const bool others = it == contents->values.end() ? stored(key).has_value() : stored(key) != it->second;
      if ((others || contents->foreign.contains(key)) && overwrite == Overwrite::unchangedOnly) continue;
      const bool foreign = value ? keepForeignAside(*contents, key) : contents->foreign.erase(key) != 0;
      if (value ? it == contents->values.end() || it->second != *value
                : it != contents->values.end() || foreign)
        differs = true;
      if (value) {
        contents->values.insert_or_assign(key, *value);
      } else if (it != contents->values.end()) {
        contents->values.erase(it);
      }
    }
    if (differs) {
      removeDrafts();
      contents->bytes = encode(*contents);
      if (contents->bytes.size() > kLargestFile) return systemFailure("write", file_, EFBIG);
      if (auto written =
              writeAtomically(files_, file_, contents->bytes, 0600, uuidFromRandom(random_.bytes16()));
          !written)
        return written;
    }
    changed = takeOver(*std::move(contents));
  }
  for (const auto& key : changed) observers_.notify(key);
  return {};
}

void FileUserDefaults::synchronize() {
  auto contents = read(Lock::notHeld);
  if (!contents) {
    // What we know stays in force. Told once per problem, not at every look.
    if (std::exchange(toldProblem_, contents.error().message) != contents.error().message)
      log_.error(fmt::format("{}. The settings known so far are in force", contents.error().message));
    return;
  }
  toldProblem_.clear();
  for (const auto& key : takeOver(*std::move(contents))) observers_.notify(key);
}

}  // namespace quillbox
