// file: the selected messages go into a mailbox.
#include <CLI/CLI.hpp>
#include <memory>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/json.h"
#include "base/text.h"
#include "cli/commands.h"
#include "cli/session.h"

namespace quillbox::cli {
namespace {

void transfer(Session& session, const Mailbox& mailbox, FilingAction action, OutputForm form,
              const Reply& reply) {
  const auto started = session.services().filing.transferSelectedMessages(
      {mailbox, action, KeepOpen::bySetting}, [mailbox, action, form, reply](const TransferOutcome& outcome) {
        if (outcome.kind == TransferOutcome::Kind::alreadyBusy) {
          return reply(fail(error_number::notAvailable, "Another filing is under way"));
        }
        if (outcome.error) return reply(std::unexpected(outcome.error->toError()));
        if (form == OutputForm::json) {
          Json object = Json::object();
          object["count"] = outcome.count;
          object["mailbox"] = mailbox.id;
          return reply(writeJson(object));
        }
        reply(fmt::format("{} message{} {} {}", outcome.count, outcome.count == 1 ? "" : "s",
                          action == FilingAction::copy ? "copied to" : "moved to",
                          text::singleLine(mailbox.id)));
      });
  if (!started) reply(session.failWith(started.error()));
}

}  // namespace

void defineFile(CLI::App& app, Choice& choice) {
  struct Options {
    std::string mailbox;
    std::string query;
    bool byQuery = false;
    bool copy = false;
    bool archive = false;
  };
  auto options = std::make_shared<Options>();
  auto* mailbox = app.add_option("MAILBOX-ID", options->mailbox,
                                 "The mailbox to file into: its account, a slash, its path.");
  auto* query =
      app.add_option("--query", options->query, "File into the first mailbox that these letters find.")
          ->type_name("QUERY");
  query->excludes(mailbox);
  auto* copy = app.add_flag("--copy", options->copy, "Copy the messages instead of moving them.");
  auto* archive =
      app.add_flag("--archive", options->archive,
                   "Archive messages of web-mail accounts before they are filed, whatever their mode.");
  archive->excludes(copy);
  app.callback([options, mailbox, query, &choice] {
    options->byQuery = query->count() > 0;
    if (!options->byQuery && mailbox->count() == 0) {
      throw CLI::ValidationError("file takes a MAILBOX-ID or --query QUERY");
    }
    choice.action = [options](Session& session, OutputForm form, const Reply& reply) {
      const auto action = options->copy      ? FilingAction::copy
                          : options->archive ? FilingAction::archive
                                             : FilingAction::move;
      const auto use = [&session, action, form, reply](const Result<Mailbox>& found) {
        if (!found) return reply(forward(found));
        // An empty selection is told before anything is counted or remembered.
        session.withSelection(
            [&session, mailbox = *found, action, form, reply](const Result<std::size_t>& selected) {
              if (!selected) return reply(forward(selected));
              transfer(session, mailbox, action, form, reply);
            });
      };
      if (options->byQuery) return session.withFirstRow(options->query, use);
      session.withMailbox(options->mailbox, use);
    };
  });
}

}  // namespace quillbox::cli
