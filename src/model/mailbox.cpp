#include "model/mailbox.h"

#include <utility>

#include "base/hash.h"
#include "base/json.h"

namespace quillbox {
namespace {

Json toJson(const Mailbox& mailbox) {
  Json json = Json::object();
  json["name"] = mailbox.name;
  json["path"] = mailbox.path;
  json["account"] = mailbox.account;
  return json;
}

Result<Mailbox> fromJson(const Json& json, std::string_view what) {
  auto name = textMember(json, "name", what);
  if (!name) return forward(name);
  auto path = textMember(json, "path", what);
  if (!path) return forward(path);
  auto account = textMember(json, "account", what);
  if (!account) return forward(account);
  return Mailbox::make(*std::move(name), *std::move(path), *std::move(account));
}

}  // namespace

std::string mailboxId(std::string_view account, std::string_view path) {
  std::string id;
  id.reserve(account.size() + 1 + path.size());
  id += account;
  id += '/';
  id += path;
  return id;
}

Mailbox Mailbox::make(std::string name, std::string path, std::string account) {
  std::string id = mailboxId(account, path);
  return {std::move(id), std::move(name), std::move(path), std::move(account)};
}

std::string encodeMailbox(const Mailbox& mailbox) {
  return writeJson(toJson(mailbox));
}

std::string encodeMailboxes(const std::vector<Mailbox>& mailboxes) {
  return writeJson(arrayOf(mailboxes, toJson));
}

Result<Mailbox> decodeMailbox(std::string_view json) {
  const auto parsed = parseJson(json, "The mailbox");
  if (!parsed) return forward(parsed);
  return fromJson(*parsed, "the mailbox");
}

Result<std::vector<Mailbox>> decodeMailboxes(std::string_view json) {
  return decodeArray<Mailbox>(json, "mailbox", fromJson);
}

}  // namespace quillbox

std::size_t std::hash<quillbox::Mailbox>::operator()(const quillbox::Mailbox& mailbox) const noexcept {
  return quillbox::hashAll(mailbox.id, mailbox.name, mailbox.path, mailbox.account);
}
