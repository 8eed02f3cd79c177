// mailboxes: the list as the main window shows it.
#include <CLI/CLI.hpp>
#include <memory>
#include <unordered_set>

#include "base/json.h"
#include "base/text.h"
#include "cli/commands.h"
#include "cli/session.h"

namespace quillbox::cli {
namespace {

using Ids = std::unordered_set<std::string>;

Ids idsOf(const std::vector<Mailbox>& mailboxes) {
  Ids ids;
  for (const auto& mailbox : mailboxes) ids.insert(mailbox.id);
  return ids;
}

std::string listRows(const MailboxFilterResult& result, const UserSettings& settings, OutputForm form) {
  const Ids favorites = idsOf(settings.favoriteMailboxes.get());
  const Ids recents = settings.rememberRecentMailboxes.get() ? idsOf(settings.recentMailboxes.get()) : Ids();
  const Ids suggested = idsOf(result.suggestedMailboxes);
  const auto& selected = result.selectedMailboxOverride;
  if (form == OutputForm::text) {
    std::vector<std::vector<std::string>> rows{{"", "PATH", "ACCOUNT", "MARKS"}};
    for (const auto& mailbox : result.filteredMailboxes) {
      std::string marks = favorites.contains(mailbox.id) ? "favorite " : "";
      if (recents.contains(mailbox.id)) marks += "recent ";
      if (suggested.contains(mailbox.id)) marks += "suggested";
      rows.push_back({selected == mailbox.id ? ">" : "", mailbox.path, mailbox.account, marks});
    }
    return table(rows);
  }
  Json array = Json::array();
  for (const auto& mailbox : result.filteredMailboxes) {
    Json row = Json::object();
    row["id"] = mailbox.id;
    row["name"] = mailbox.name;
    row["path"] = mailbox.path;
    row["account"] = mailbox.account;
    row["favorite"] = favorites.contains(mailbox.id);
    row["recent"] = recents.contains(mailbox.id);
    row["suggested"] = suggested.contains(mailbox.id);
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
      session.withRows(*query, [&session, form, reply](const Result<MailboxFilterResult>& rows) {
        if (!rows) return reply(forward(rows));
        reply(listRows(*rows, session.services().settings, form));
      });
    };
  });
}

}  // namespace quillbox::cli
