// favorites, recents, excluded: the three lists of mailboxes that the user keeps.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <memory>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/text.h"
#include "cli/commands.h"
#include "cli/mailbox_table.h"
#include "cli/session.h"

namespace quillbox::cli {
namespace {

struct ListKind {
  const char* noun;  // "There is no … among the …"
  ListMailboxManager& (*of)(const Services& services);
  bool newestFirst;
};

constexpr ListKind kFavorites{"favorites",
                              [](const Services& s) -> ListMailboxManager& { return s.favorites; }, false};
// As the window shows them.
constexpr ListKind kRecents{"recents", [](const Services& s) -> ListMailboxManager& { return s.recents; },
                            true};
constexpr ListKind kExcluded{"excluded mailboxes",
                             [](const Services& s) -> ListMailboxManager& { return s.excluded; }, false};

std::string shown(const ListKind& kind, const Services& services, OutputForm form) {
  auto mailboxes = kind.of(services).mailboxes.get();
  if (kind.newestFirst) std::ranges::reverse(mailboxes);
  return shownMailboxes(mailboxes, form);
}

void addTo(const ListKind& kind, Session& session, const std::string& id, OutputForm form,
           const Reply& reply) {
  session.withMailbox(id, [&kind, &session, form, reply](const Result<Mailbox>& mailbox) {
    if (!mailbox) return reply(forward(mailbox));
    // What is in the list already may stay there.
    if (auto added = kind.of(session.services()).add(*mailbox); !added) return reply(forward(added));
    reply(shown(kind, session.services(), form));
  });
}

// Takes an id whose mailbox is gone, too.
Result<std::string> removeFrom(const ListKind& kind, const Services& services, const std::string& id,
                               OutputForm form) {
  if (auto valid = requireUtf8("The mailbox id", id); !valid) return forward(valid);
  auto& list = kind.of(services);
  services.settings.synchronize();
  const auto& held = list.mailboxes.get();
  const auto entry = std::ranges::find(held, id, &Mailbox::id);
  if (entry == held.end()) {
    return fail(error_number::mailboxNotFound,
                fmt::format("“{}” is not among the {}", text::singleLine(id), kind.noun));
  }
  const auto mailbox = Mailbox(*entry);  // the list that holds the entry is about to change
  if (auto removed = list.remove(mailbox); !removed) return forward(removed);
  return shown(kind, services, form);
}

Result<std::string> clearList(const ListKind& kind, const Services& services, OutputForm form) {
  services.settings.synchronize();
  if (auto cleared = kind.of(services).clear(); !cleared) return forward(cleared);
  return shown(kind, services, form);
}

void define(const ListKind& kind, CLI::App& app, Choice& choice) {
  app.require_subcommand(1);
  app.add_subcommand("list", fmt::format("The {} in their order.", kind.noun))->callback([&kind, &choice] {
    choice.action = [&kind](Session& session, OutputForm form, const Reply& reply) {
      session.services().settings.synchronize();
      reply(shown(kind, session.services(), form));
    };
  });
  auto id = std::make_shared<std::string>();
  auto* add = app.add_subcommand("add", fmt::format("Add a mailbox to the {}; prints the list.", kind.noun));
  add->add_option("ID", *id, "The mailbox, as `mailboxes` prints it.")->required();
  add->callback([&kind, id, &choice] {
    choice.action = [&kind, id](Session& session, OutputForm form, const Reply& reply) {
      addTo(kind, session, *id, form, reply);
    };
  });
  auto* remove =
      app.add_subcommand("remove", fmt::format("Take a mailbox out of the {}; prints the list.", kind.noun));
  remove->add_option("ID", *id, "The mailbox, as `list` prints it.")->required();
  remove->callback([&kind, id, &choice] {
    choice.action = [&kind, id](Session& session, OutputForm form, const Reply& reply) {
      reply(removeFrom(kind, session.services(), *id, form));
    };
  });
  app.add_subcommand("clear", fmt::format("Empty the list of {}.", kind.noun))->callback([&kind, &choice] {
    choice.action = [&kind](Session& session, OutputForm form, const Reply& reply) {
      reply(clearList(kind, session.services(), form));
    };
  });
}

}  // namespace

void defineFavorites(CLI::App& app, Choice& choice) {
  define(kFavorites, app, choice);
}
void defineRecents(CLI::App& app, Choice& choice) {
  define(kRecents, app, choice);
}
void defineExcluded(CLI::App& app, Choice& choice) {
  define(kExcluded, app, choice);
}

}  // namespace quillbox::cli
