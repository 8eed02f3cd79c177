#include "real_store.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "mailclient/mime.h"

namespace quillbox::mailclient {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kBody = 2000;

std::string messageText(const std::string& subject) {
  return fmt::format(
      "From: Ada <ada@example.org>\nSubject: {0}\nMessage-ID: <{0}@example.org>\n\n{1}\nend of {0}\n",
      subject, std::string(kBody, 'x'));
}

// mbsync puts a header of its own on top of what it stores.
std::string withoutForeignHeader(const std::string& bytes) {
  const auto at = bytes.find("X-TUID: ");
  return at == std::string::npos ? bytes : bytes.substr(0, at) + bytes.substr(bytes.find('\n', at) + 1);
}

}  // namespace

RealStore::RealStore() {
  std::string pattern = (fs::temp_directory_path() / "quillbox-mail-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) fatal("no temporary folder");
  root_ = pattern;
  environment_ = std::make_unique<Environment>(environment());
}

RealStore::~RealStore() {
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

std::unique_ptr<MailClient> RealStore::client() {
  return std::make_unique<MailClient>(*environment_);
}

void RealStore::makeFolder(const Path& folder) {
  for (const auto* part : {"cur", "new", "tmp"}) fs::create_directories(folder / part);
}

void RealStore::deliver(const Path& folder, const std::string& subject, const std::string& flags) {
  std::ofstream(folder / "cur" / fmt::format("1700000000.M1P1.{}:2,{}", subject, flags))
      << messageText(subject);
}

std::map<std::string, std::multiset<std::string>> RealStore::messages(const Path& top) {
  std::map<std::string, std::multiset<std::string>> found;
  for (const auto& entry : fs::recursive_directory_iterator(top)) {
    const auto sub = entry.path().parent_path().filename();
    if (!entry.is_regular_file() || (sub != "cur" && sub != "new")) continue;
    const auto bytes = files.read(entry.path());
    if (!bytes) fatal(bytes.error().message);
    const auto subject = summarize(headerBlock(*bytes)).subject;
    const auto whole = withoutForeignHeader(*bytes) == messageText(subject) ? "" : " TORN";
    found[subject].insert(entry.path().parent_path().parent_path().string().substr(root_.string().size()) +
                          whole);
  }
  return found;
}

std::vector<std::string> RealStore::strayFiles(const Path& top) const {
  std::vector<std::string> stray;
  const auto look = [&](const Path& at, bool isStore) {
    for (const auto& entry : fs::recursive_directory_iterator(at)) {
      if (!entry.is_regular_file()) continue;
      const auto name = entry.path().filename().string();
      const bool draft = entry.path().parent_path().filename() == "tmp" || name.ends_with(".tmp");
      const bool open = name.ends_with(".open") || name.ends_with(".undo");
      if (draft || open || (isStore && name.ends_with(".lock"))) stray.push_back(entry.path().string());
    }
  };
  look(top, true);
  look(root_ / "profile", false);
  return stray;
}

Result<std::size_t> fileAll(const Environment& environment, const MailboxKey& from, const MailboxKey& to,
                            const MarkChange& change) {
  MailStore store(environment);
  const auto folder = store.mailbox(from);
  if (!folder) return forward(folder);
  const auto index = store.messages(*folder);
  if (!index) return forward(index);
  Transaction transaction(environment, store);
  std::vector<MessageKey> keys;
  for (const auto& file : (*index)->files()) keys.push_back({from, stableId(file.name)});
  transaction.expect(keys);
  for (const auto& key : keys) {
    if (auto changed = transaction.change(key, change); !changed) return forward(changed);
    if (auto moved = transaction.move(key, to); !moved) return forward(moved);
  }
  if (auto committed = transaction.commit(); !committed) return forward(committed);
  return transaction.filed();
}

int runProgram(const std::string& command, std::string* output) {
  std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return -1;
  std::string text;
  for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) text += static_cast<char>(c);
  if (output != nullptr) *output = text;
  return pclose(pipe);
}

}  // namespace quillbox::mailclient
