#include "model/account.h"

#include <utility>

#include "base/hash.h"
#include "base/json.h"

namespace quillbox {
namespace {

Json toJson(const Account& account) {
  Json json = Json::object();
  json["id"] = account.id;
  json["name"] = account.name;
  json["server"] = account.server;
  return json;
}

Result<Account> fromJson(const Json& json, std::string_view what) {
  auto id = textMember(json, "id", what);
  if (!id) return forward(id);
  auto name = textMember(json, "name", what);
  if (!name) return forward(name);
  auto server = textMember(json, "server", what);
  if (!server) return forward(server);
  return Account{*std::move(id), *std::move(name), *std::move(server)};
}

}  // namespace

std::string encodeAccounts(const std::vector<Account>& accounts) {
  return writeJson(arrayOf(accounts, toJson));
}

Result<std::vector<Account>> decodeAccounts(std::string_view json) {
  return decodeArray<Account>(json, "account", fromJson);
}

}  // namespace quillbox

std::size_t std::hash<quillbox::Account>::operator()(const quillbox::Account& account) const noexcept {
  return quillbox::hashAll(account.id, account.name, account.server);
}
