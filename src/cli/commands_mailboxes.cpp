// mailboxes: the list as the main window shows it.
#include <CLI/CLI.hpp>
#include <memory>

#include "base/json.h"
#include "cli/commands.h"
#include "cli/session.h"

namespace quillbox::cli {
namespace {

std::string listRows(const MailboxManager& manager, OutputForm form) {
  const auto& selected = manager.selectedMailboxId.get();
  if (form == OutputForm::text) {
    std::vector<std::vector<std::string>> rows{{"", "PATH", "ACCOUNT", "MARKS"}};
    for (const auto& mailbox : manager.filteredMailboxes.get()) {
      std::string marks = manager.isFavorite(mailbox.id) ? "favorite " : "";
      if (manager.isRecent(mailbox.id)) marks += "recent ";
      if (manager.isSuggested(mailbox.id)) marks += "suggested";
      rows.push_back({selected == mailbox.id ? ">" : "", mailbox.path, mailbox.account, marks});
    }
    return table(rows);
  }
  Json array = Json::array();
  for (const auto& mailbox : manager.filteredMailboxes.get()) {
    Json row = Json::object();
    row["id"] = mailbox.id;
    row["name"] = mailbox.name;
    row["path"] = mailbox.path;
    row["account"] = mailbox.account;
    row["favorite"] = manager.isFavorite(mailbox.id);
    row["recent"] = manager.isRecent(mailbox.id);
    row["suggested"] = manager.isSuggested(mailbox.id);
    array.push_back(std::move(row));
  }
  Json object = Json::object();
  object["rows"] = std::move(array);
  object["selected"] = selected ? Json(*selected) : Json(nullptr);
  return writeJson(object);
}

}  // namespace

void defineMailboxes(CLI::App& app, Choice& choice) {
  auto query = std::make_shared<std::string>();
  app.add_option("--query", *query, "Only the mailboxes in whose path the words of QUERY occur in order.")
      ->type_name("QUERY");
  app.callback([query, &choice] {
    choice.action = [query](Session& session, OutputForm form, const Reply& reply) {
      session.withRows(*query, [&session, form, reply](const Result<void>& ready) {
        if (!ready) return reply(forward(ready));
        reply(listRows(session.services().mailboxes, form));
      });
    };
  });
}

}  // namespace quillbox::cli
