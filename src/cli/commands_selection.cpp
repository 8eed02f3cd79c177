// accounts and selection: what the system's own queries ask the mail client.
#include <CLI/CLI.hpp>
#include <memory>

#include "automation/selected_messages.h"
#include "base/json.h"
#include "cli/commands.h"
#include "cli/session.h"

namespace quillbox::cli {
namespace {

using script_texts::Include;

Json textOrNull(const std::optional<std::string>& text) {
  return text ? Json(*text) : Json(nullptr);
}

std::string listSelection(const std::vector<MailMessage>& messages, OutputForm form) {
  if (form == OutputForm::json) {
    Json array = Json::array();
    for (const auto& message : messages) {
      Json object = Json::object();
      object["id"] = message.id;
      object["sender"] = message.sender;
      object["subject"] = message.subject;
      object["body"] = textOrNull(message.body);
      object["source"] = textOrNull(message.source);
      array.push_back(std::move(object));
    }
    return writeJson(array);
  }
  std::vector<std::vector<std::string>> rows{{"SENDER", "SUBJECT", "ID"}};
  std::string bodies;
  for (const auto& message : messages) {
    rows.push_back({message.sender, message.subject, message.id});
    for (const auto* part : {&message.body, &message.source}) {
      if (*part) bodies += "\n\n--- " + message.subject + " ---\n" + **part;
    }
  }
  return table(rows) + bodies;
}

}  // namespace

void defineAccounts(CLI::App& app, Choice& choice) {
  app.callback([&choice] {
    choice.action = [](Session& session, OutputForm form, const Reply& reply) {
      session.services().accounts.refresh([&session, form, reply](const auto& accounts) {
        if (!accounts) return reply(session.failWith(accounts.error()));
        if (form == OutputForm::json) return reply(encodeAccounts(*accounts));
        std::vector<std::vector<std::string>> rows{{"NAME", "SERVER", "ID"}};
        for (const auto& account : *accounts) rows.push_back({account.name, account.server, account.id});
        reply(table(rows));
      });
    };
  });
}

void defineSelection(CLI::App& app, Choice& choice) {
  struct Options {
    bool body = false;
    bool source = false;
  };
  auto options = std::make_shared<Options>();
  app.add_flag("--body", options->body, "With the text of each message.");
  app.add_flag("--source", options->source, "With the raw source of each message.");
  app.callback([options, &choice] {
    choice.action = [options](Session& session, OutputForm form, const Reply& reply) {
      const auto& services = session.services();
      getSelectedMessages(
          services.helper, services.dispatch, services.log, options->body ? Include::yes : Include::no,
          options->source ? Include::yes : Include::no, [&session, form, reply](const auto& messages) {
            if (!messages) return reply(session.failWith(messages.error()));
            reply(listSelection(*messages, form));
          });
    };
  });
}

}  // namespace quillbox::cli
