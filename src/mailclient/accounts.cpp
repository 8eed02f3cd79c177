#include "mailclient/accounts.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/json.h"
#include "base/text.h"
#include "base/uuid.h"
#include "mailclient/name_codes.h"

namespace quillbox::mailclient {
namespace {

constexpr int kVersion = 1;
constexpr std::uint64_t kLargest = 16 << 20;

struct TypeName {
  AccountType type;
  std::string_view name;
};
constexpr std::array<TypeName, 5> kTypes = {{{AccountType::imap, "imap"},
                                             {AccountType::pop, "pop"},
                                             {AccountType::smtp, "smtp"},
                                             {AccountType::iCloud, "iCloud"},
                                             {AccountType::unknown, "unknown"}}};

std::string_view layoutName(Layout layout) {
  return layout == Layout::nested ? "nested" : "maildir++";
}

Result<void> checkName(std::string_view name) {
  const auto refuse = [&](std::string_view why) {
    return fail(error_number::invalidName,
                fmt::format("“{}” can’t name an account: {}", text::singleLine(readableBytes(name)), why));
  };
  if (name.empty()) return refuse("the name is empty");
  if (!text::isValidUtf8(name)) return refuse("it is not valid UTF-8");
  if (name.find('/') != std::string_view::npos) return refuse("it holds a “/”");
  for (std::size_t at = 0; at < name.size();) {
    const auto c = text::nextCodePoint(name, at);
    if (c < 0x20 || (c >= 0x7f && c < 0xa0)) return refuse("it holds a control character");
  }
  return {};
}

std::string textOf(const Json& object, const char* key, std::string_view fallback = {}) {
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? found->get<std::string>() : std::string(fallback);
}

Json encode(const MailAccount& account) {
  return Json{{"id", account.id},
              {"name", account.name},
              {"path", readableBytes(account.path.string())},
              {"layout", layoutName(account.layout)},
              {"server", account.server},
              {"type", accountTypeName(account.type)},
              {"enabled", account.enabled},
              {"emailAddresses", account.emailAddresses},
              {"userName", account.userName},
              {"fullName", account.fullName}};
}

}  // namespace

std::string_view accountTypeName(AccountType type) {
  return std::ranges::find(kTypes, type, &TypeName::type)->name;
}

std::optional<AccountType> accountTypeFromName(std::string_view name) {
  const auto folded = text::foldCase(name);
  if (folded == "mac") return AccountType::iCloud;
  for (const auto& known : kTypes) {
    if (text::foldCase(known.name) == folded) return known.type;
  }
  return std::nullopt;
}

Result<std::vector<MailAccount>> AccountStore::decode(const std::string& text) const {
  const auto damaged = [](std::string why) {
    return fail(error_number::damagedFile, fmt::format("accounts.json: {}", why));
  };
  const auto json = parseJson(text, "accounts.json");
  if (!json) return forward(json);
  if (!json->is_object()) return damaged("it holds no list of accounts");
  if (const auto version = json->find("version");
      version == json->end() || !version->is_number_integer() || version->get<std::int64_t>() != kVersion) {
    return damaged("it was written by another version");
  }
  if (!json->contains("accounts") || !(*json)["accounts"].is_array()) {
    return damaged("it holds no list of accounts");
  }
  std::vector<MailAccount> accounts;
  for (const auto& item : (*json)["accounts"]) {
    MailAccount account;
    if (!item.is_object()) return damaged("an account is no object");
    account.id = textOf(item, "id");
    account.name = textOf(item, "name");
    account.path = bytesOfReadable(textOf(item, "path"));
    if (account.id.empty() || !checkName(account.name) || !account.path.is_absolute()) {
      return damaged(fmt::format("the account “{}” is not complete", text::singleLine(account.name)));
    }
    account.server = textOf(item, "server");
    account.type = accountTypeFromName(textOf(item, "type", "imap")).value_or(AccountType::unknown);
    account.layout = textOf(item, "layout") == "nested" ? Layout::nested : Layout::maildirPlusPlus;
    account.userName = textOf(item, "userName");
    account.fullName = textOf(item, "fullName");
    if (const auto enabled = item.find("enabled"); enabled != item.end() && enabled->is_boolean()) {
      account.enabled = enabled->get<bool>();
    }
    if (const auto addresses = item.find("emailAddresses");
        addresses != item.end() && addresses->is_array()) {
      for (const auto& address : *addresses) {
        if (address.is_string()) account.emailAddresses.push_back(address.get<std::string>());
      }
    }
    accounts.push_back(std::move(account));
  }
  return accounts;
}

Result<std::vector<MailAccount>> AccountStore::load() {
  auto& files = environment_.files;
  const auto info = files.info(file());
  if (!info) {
    if (info.error().number != ENOENT) return forward(info);
    known_.clear();
    read_.reset();
    return known_;
  }
  if (read_ && read_->inode == info->inode && read_->modified == info->modified &&
      read_->size == info->size) {
    return known_;
  }
  const auto text = files.read(file(), kLargest);
  if (!text) return forward(text);
  auto decoded = decode(*text);
  if (!decoded) {
    const auto aside = keepDamagedFileAside(files, file());
    if (!aside) return forward(aside);
    environment_.log.error(fmt::format("The list of mail accounts could not be read and was kept as {}: {}",
                                       aside->string(), decoded.error().message));
    known_.clear();
    read_.reset();
    return known_;
  }
  known_ = *decoded;
  read_ = *info;
  return known_;
}

Result<std::vector<MailAccount>> AccountStore::accounts() {
  auto all = load();
  if (all) std::erase_if(*all, [](const MailAccount& account) { return account.isLocal(); });
  return all;
}

Result<MailAccount> AccountStore::localStore() {
  const auto all = load();
  if (!all) return forward(all);
  const auto pointed = std::ranges::find_if(*all, &MailAccount::isLocal);
  if (pointed != all->end()) return *pointed;
  MailAccount local;
  local.id = localAccountName;
  local.name = localAccountName;
  local.path = environment_.directory / "local";
  local.layout = Layout::nested;
  return local;
}

Result<std::unique_ptr<FileLock>> AccountStore::lock() {
  if (auto made = makeDirectories(environment_.files, environment_.directory, 0700); !made)
    return forward(made);
  return environment_.files.lock(environment_.directory / "accounts.lock", std::chrono::seconds(10));
}

void AccountStore::removeDrafts() {
  if (const auto held = lock()) removeDraftsOf(environment_.files, file());
}

Result<void> AccountStore::save(const std::vector<MailAccount>& all) {
  Json list = Json::array();
  for (const auto& account : all) list.push_back(encode(account));
  const auto text = writeJson(Json{{"version", kVersion}, {"accounts", std::move(list)}}, 2) + "\n";
  read_.reset();
  return writeAtomically(environment_.files, file(), text, 0600, environment_.token());
}

Result<MailAccount> AccountStore::add(MailAccount account) {
  if (auto fine = checkName(account.name); !fine) return forward(fine);
  if (!account.path.is_absolute()) {
    return fail(error_number::maildirUnusable,
                fmt::format("{} is not an absolute path", readableBytes(account.path.string())));
  }
  account.path = account.path.lexically_normal();
  if (!account.path.has_filename()) account.path = account.path.parent_path();
  const auto layout = detectLayout(environment_.files, account.path);
  if (!layout) return forward(layout);
  account.layout = *layout;
  auto held = lock();
  if (!held) return forward(held);
  auto all = load();
  if (!all) return forward(all);
  const bool taken =
      std::ranges::any_of(*all, [&](const MailAccount& other) { return other.name == account.name; });
  if (taken && !account.isLocal()) {
    return fail(error_number::accountExists, fmt::format("There is an account “{}” already", account.name));
  }
  std::erase_if(*all, [&](const MailAccount& other) { return other.name == account.name; });
  account.id =
      account.isLocal() ? std::string(localAccountName) : uuidFromRandom(environment_.random.bytes16());
  all->push_back(account);
  if (auto saved = save(*all); !saved) return forward(saved);
  return account;
}

Result<void> AccountStore::remove(std::string_view name) {
  auto held = lock();
  if (!held) return forward(held);
  auto all = load();
  if (!all) return forward(all);
  if (std::erase_if(*all, [&](const MailAccount& account) { return account.name == name; }) == 0) {
    return fail(error_number::accountNotFound,
                fmt::format("There is no account “{}”", text::singleLine(readableBytes(name))));
  }
  return save(*all);
}

Result<void> AccountStore::update(const MailAccount& account) {
  if (auto fine = checkName(account.name); !fine) return forward(fine);
  auto held = lock();
  if (!held) return forward(held);
  auto all = load();
  if (!all) return forward(all);
  for (const auto& other : *all) {
    if (other.name == account.name && other.id != account.id) {
      return fail(error_number::accountExists, fmt::format("There is an account “{}” already", account.name));
    }
  }
  const auto place = std::ranges::find(*all, account.id, &MailAccount::id);
  if (place == all->end()) {
    return fail(error_number::accountNotFound, fmt::format("There is no account “{}”", account.name));
  }
  *place = account;
  return save(*all);
}

}  // namespace quillbox::mailclient
