// show, new-mailbox, flag, label: what the system does to the mail client beside filing.
#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

#include <fmt/format.h>

#include "automation/mail_actions.h"
#include "base/json.h"
#include "cli/commands.h"
#include "cli/session.h"

namespace quillbox::cli {
namespace {

// The flag that a word of the command line names, as a flag index; -1 clears.
std::optional<std::int64_t> flagIndexOf(const std::string& word) {
  for (const auto& [flag, name] : RawNumbers<MessageFlagAppEnum>::cases) {
    if (flag == MessageFlagAppEnum::none || word != name) continue;
    return flag == MessageFlagAppEnum::remove ? -1 : static_cast<std::int64_t>(flag);
  }
  return std::nullopt;
}

// Runs `act` on a selection that is not empty and tells how many messages it had.
template <class Act>
void changeSelection(Session& session, OutputForm form, const Reply& reply, Act act) {
  session.withSelection([&session, form, reply, act](const Result<std::size_t>& selected) {
    if (!selected) return reply(forward(selected));
    act([&session, form, reply, count = *selected](const QuillboxResult<void>& done) {
      if (!done) return reply(session.failWith(done.error()));
      if (form == OutputForm::json) return reply(fmt::format(R"({{"count":{}}})", count));
      reply(fmt::format("{} message{} changed", count, count == 1 ? "" : "s"));
    });
  });
}

}  // namespace

void defineShow(CLI::App& app, Choice& choice) {
  struct Options {
    std::string mailbox;
    bool newViewer = false;
  };
  auto options = std::make_shared<Options>();
  app.add_option("ID", options->mailbox, "The mailbox: its account, a slash, its path.")->required();
  app.add_flag("--new-viewer", options->newViewer,
               "In a new window of the mail client instead of the frontmost.");
  app.callback([options, &choice] {
    choice.action = [options](Session& session, OutputForm, const Reply& reply) {
      session.withMailbox(options->mailbox, [&session, options, reply](const Result<Mailbox>& mailbox) {
        if (!mailbox) return reply(forward(mailbox));
        const auto viewer =
            options->newViewer ? script_texts::Viewer::newViewer : script_texts::Viewer::frontmost;
        session.services().actions.showMailbox(*mailbox, viewer,
                                               [&session, reply](const QuillboxResult<void>& done) {
                                                 if (!done) return reply(session.failWith(done.error()));
                                                 reply(std::string());
                                               });
      });
    };
  });
}

void defineNewMailbox(CLI::App& app, Choice& choice) {
  struct Options {
    std::string name;
    std::string parent;
    std::string account{onMyMac};
  };
  auto options = std::make_shared<Options>();
  app.add_option("NAME", options->name, "The new mailbox's name.")->required();
  app.add_option("--parent", options->parent,
                 "The mailbox that is to hold it (default: the account's top level).")
      ->type_name("PATH");
  app.add_option("--account", options->account, "The account's name (default: the local mailboxes).")
      ->type_name("ACCOUNT");
  app.callback([options, &choice] {
    choice.action = [options](Session& session, OutputForm form, const Reply& reply) {
      for (const auto& [what, text] : {std::pair<const char*, const std::string*>{"The name", &options->name},
                                       {"The parent", &options->parent},
                                       {"The account", &options->account}}) {
        if (auto valid = requireUtf8(what, *text); !valid) return reply(forward(valid));
      }
      session.services().actions.createMailbox(options->name, options->parent, options->account,
                                               [&session, form, reply](const QuillboxResult<Mailbox>& made) {
                                                 if (!made) return reply(session.failWith(made.error()));
                                                 session.forgetMailboxes();
                                                 if (form == OutputForm::text) return reply(made->id);
                                                 Json object = Json::object();
                                                 object["mailbox"] = made->id;
                                                 reply(writeJson(object));
                                               });
    };
  });
}

void defineFlag(CLI::App& app, Choice& choice) {
  auto colour = std::make_shared<std::string>();
  app.add_option("COLOR", *colour,
                 "red, orange, yellow, green, blue, purple, gray, or remove to clear the flag.")
      ->required();
  app.callback([colour, &choice] {
    const auto index = flagIndexOf(*colour);
    if (!index) {
      throw CLI::ValidationError("“" + *colour +
                                 "” is no flag: red, orange, yellow, green, blue, purple, gray or remove");
    }
    choice.action = [index](Session& session, OutputForm form, const Reply& reply) {
      changeSelection(session, form, reply, [&session, index](auto done) {
        session.services().actions.flagSelection(*index, std::move(done));
      });
    };
  });
}

void defineLabel(CLI::App& app, Choice& choice) {
  auto colour = std::make_shared<std::string>();
  app.add_option("COLOR", *colour,
                 "blue, gray, green, orange, purple, red, yellow, or remove to take the label away.")
      ->required();
  app.callback([colour, &choice] {
    const auto label = fromRawText<MessageLabelAppEnum>(*colour);
    if (!label || *label == MessageLabelAppEnum::none) {
      throw CLI::ValidationError("“" + *colour +
                                 "” is no label: blue, gray, green, orange, purple, red, yellow or remove");
    }
    choice.action = [label](Session& session, OutputForm form, const Reply& reply) {
      changeSelection(session, form, reply, [&session, label](auto done) {
        session.services().actions.labelSelection(*label, std::move(done));
      });
    };
  });
}

}  // namespace quillbox::cli
