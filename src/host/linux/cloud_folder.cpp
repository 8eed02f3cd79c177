#include "host/linux/cloud_folder.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "base/bytes.h"
#include "base/text.h"

namespace quillbox {
namespace {

constexpr std::chrono::nanoseconds kDraftAge = std::chrono::hours(1);

std::string lowered(std::string_view name) {
  std::string out(name);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

bool isValueName(std::string_view name) {
  return name.starts_with("kv-") && name.ends_with(".quillbox");
}

// As writeAtomically() names them: "kv-….quillbox.<suffix>.tmp".
bool isDraftName(std::string_view name) {
  return name.starts_with("kv-") && name.ends_with(".tmp") &&
         name.find(".quillbox.") != std::string_view::npos;
}

}  // namespace

CloudFolder::CloudFolder(Ports ports, Path folder) : ports_(ports), folder_(std::move(folder)) {}

CloudValues CloudFolder::readAll() {
  CloudValues values;
  if (!isAvailable()) return values;
  std::vector<std::string> names;
  const auto listed = ports_.files.list(folder_, [&](std::string_view name, FileKind) {
    if (isValueName(lowered(name))) names.emplace_back(name);
    return true;
  });
  if (!listed && listed.error().number != ENOENT) complainOnce("", listed.error().message);
  std::ranges::sort(names);
  for (const auto& name : names) {
    if (auto contents = readFile(name)) values.emplace(std::move(contents->key), std::move(contents->value));
  }
  return values;
}

// Nothing for what is no value of ours, not yet whole, or a copy under another name.
std::optional<CloudFileContents> CloudFolder::readFile(const std::string& name) {
  const Path path = folder_ / name;
  const auto info = ports_.files.info(path);
  if (!info) {
    if (info.error().number != ENOENT) complainOnce(name, info.error().message);
    return std::nullopt;
  }
  if (info->kind != FileKind::regular) {
    complainOnce(name, "it is no file");
    return std::nullopt;
  }
  const auto bytes = ports_.files.read(path, kLargestFile);
  if (!bytes) {
    if (bytes.error().number != ENOENT) complainOnce(name, bytes.error().message);
    return std::nullopt;
  }
  auto contents = decodeCloudFile(*bytes);
  if (!contents) {
    complainOnce(name, contents.error().message);
    return std::nullopt;
  }
  if (lowered(name) != cloudFileName(contents->key)) {
    complainOnce(name, "it is a copy of the value that belongs into " + cloudFileName(contents->key));
    return std::nullopt;
  }
  faults_.erase(name);
  return *std::move(contents);
}

void CloudFolder::complainOnce(const std::string& name, const std::string& why) {
  auto& known = faults_[name];
  if (known == why) return;
  known = why;
  ports_.log.info(fmt::format("Cloud folder: {} is passed over: {}",
                              text::singleLine(name.empty() ? folder_.string() : name), why));
}

Result<void> CloudFolder::set(std::string_view key, const DefaultsValue& value) {
  const auto named = text::singleLine(key);
  if (!isAvailable()) return fail(ENOENT, "No cloud folder is set");
  if (key.empty()) return fail(EINVAL, "A key of the cloud store is empty");
  if (key.size() > kLongestKey)
    return fail(ENAMETOOLONG, fmt::format("The cloud store's key {} is too long", named));
  if (!text::isValidUtf8(key))
    return fail(EINVAL, fmt::format("The cloud store's key {} is not UTF-8", named));
  const auto bytes = encodeCloudFile(key, value);
  if (!bytes) return forward(bytes);
  if (bytes->size() > kLargestFile)
    return fail(EFBIG, fmt::format("The value of {} is too large for the cloud store: {} bytes", named,
                                   bytes->size()));

  const Path path = folder_ / cloudFileName(key);
  if (!holds(path, *bytes)) {
    const auto random = ports_.random.bytes16();
    const std::string suffix = toHex({reinterpret_cast<const char*>(random.data()), random.size()});
    auto done = writeAtomically(ports_.files, path, *bytes, 0600, suffix);
    if (!done && done.error().number == ENOENT) {
      if (auto made = ports_.files.makeDirectory(folder_, 0700); !made && made.error().number != EEXIST)
        return made;
      done = writeAtomically(ports_.files, path, *bytes, 0600, suffix);
    }
    if (!done) return done;
  }
  told_.insert_or_assign(std::string(key), value);
  return {};
}

bool CloudFolder::holds(const Path& path, const std::string& bytes) {
  const auto info = ports_.files.info(path);
  if (!info || info->kind != FileKind::regular || info->size != bytes.size()) return false;
  const auto old = ports_.files.read(path, kLargestFile);
  return old && *old == bytes;
}

void CloudFolder::synchronize() {
  if (!isAvailable()) return;
  std::vector<Path> drafts;
  (void)ports_.files.list(folder_, [&](std::string_view name, FileKind) {
    if (isDraftName(name)) drafts.push_back(folder_ / name);
    return true;
  });
  const auto now = ports_.clock.now();
  for (const Path& draft : drafts) {
    const auto info = ports_.files.info(draft, FollowLinks::no);
    if (!info || info->kind != FileKind::regular) continue;
    // Either way: another machine's clock may be wrong.
    if (std::chrono::abs(now - info->modified) > kDraftAge) (void)ports_.files.remove(draft);
  }
}

Subscription CloudFolder::observe(std::function<void()> changedExternally) {
  if (isAvailable() && !watch_) {
    told_ = readAll();
    auto watch = ports_.watcher.watch(folder_, [this] { lookForChanges(); });
    if (watch) {
      watch_ = *std::move(watch);
    } else {
      ports_.log.error("Changes in the cloud folder are seen late: " + watch.error().message);
    }
  }
  return observers_.add(std::move(changedExternally));
}

// Most calls are echoes of our own set().
void CloudFolder::lookForChanges() {
  auto values = readAll();
  if (values == told_) return;
  told_ = std::move(values);
  observers_.notify();
}

}  // namespace quillbox
