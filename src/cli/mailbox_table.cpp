#include "cli/mailbox_table.h"

#include "base/json.h"

namespace quillbox::cli {

std::string shownMailboxes(const std::vector<Mailbox>& mailboxes, OutputForm form) {
  if (form == OutputForm::text) {
    std::vector<std::vector<std::string>> rows{{"PATH", "ACCOUNT", "ID"}};
    for (const auto& mailbox : mailboxes) rows.push_back({mailbox.path, mailbox.account, mailbox.id});
    return table(rows);
  }
  Json array = Json::array();
  for (const auto& mailbox : mailboxes) {
    Json row = Json::object();
    row["id"] = mailbox.id;
    row["name"] = mailbox.name;
    row["path"] = mailbox.path;
    row["account"] = mailbox.account;
    array.push_back(std::move(row));
  }
  return writeJson(array);
}

}  // namespace quillbox::cli
