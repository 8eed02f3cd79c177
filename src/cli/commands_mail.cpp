// The mail client's own commands: its accounts, messages and selection, and taking a filing back.
#include <CLI/CLI.hpp>
#include <memory>

#include <fmt/format.h>

#include "base/json.h"
#include "base/text.h"
#include "cli/commands.h"
#include "cli/session.h"

namespace quillbox::cli {
namespace {

using mailclient::MessageRow;

std::string counted(std::size_t count) {
  return fmt::format("{} message{}", count, count == 1 ? "" : "s");
}

std::string countOf(std::size_t count, OutputForm form, std::string_view done) {
  if (form == OutputForm::json) return fmt::format(R"({{"count":{}}})", count);
  return fmt::format("{} {}", counted(count), done);
}

std::string layoutName(mailclient::Layout layout) {
  return layout == mailclient::Layout::maildirPlusPlus ? "Maildir++" : "nested";
}

Result<std::string> listAccounts(mailclient::MailClient& mail, OutputForm form) {
  auto accounts = mail.accounts();
  if (!accounts) return forward(accounts);
  const auto local = mail.localStore();
  if (!local) return forward(local);
  accounts->push_back(*local);
  Json array = Json::array();
  std::vector<std::vector<std::string>> rows{{"NAME", "SERVER", "TYPE", "LAYOUT", "PATH"}};
  for (const auto& account : *accounts) {
    const std::string type = account.isLocal() ? "local" : std::string(accountTypeName(account.type));
    Json object = Json::object();
    object["id"] = account.id;
    object["name"] = account.name;
    object["server"] = account.server;
    object["type"] = type;
    object["layout"] = layoutName(account.layout);
    object["path"] = account.path.string();
    object["enabled"] = account.enabled;
    array.push_back(std::move(object));
    rows.push_back({account.name, account.server, type, layoutName(account.layout), account.path.string()});
  }
  return form == OutputForm::json ? writeJson(array) : table(rows);
}

void defineMailAdd(CLI::App& app, Choice& choice) {
  struct Options {
    std::string name;
    std::string path;
    std::string server;
    std::string type = "imap";
  };
  auto options = std::make_shared<Options>();
  auto* add = app.add_subcommand("add", "Add an account over a Maildir; its layout is detected.");
  add->add_option("NAME", options->name, "The account's name; “On My Mac” points the local mailboxes there.")
      ->required();
  add->add_option("PATH", options->path, "The Maildir: its inbox, with folders inside or beside it.")
      ->required();
  add->add_option("--server", options->server, "The host name of the account's server.")->type_name("HOST");
  add->add_option("--type", options->type, "imap, pop, smtp, iCloud or unknown (default: imap).")
      ->type_name("TYPE");
  add->callback([options, &choice] {
    const auto type = mailclient::accountTypeFromName(options->type);
    if (!type) throw CLI::ValidationError("--type", "“" + options->type + "” is no type of account");
    choice.action = [options, type](Session& session, OutputForm, const Reply& reply) {
      const auto& services = session.services();
      if (auto valid = requireUtf8("The account's name", options->name); !valid) return reply(forward(valid));
      auto added = services.mail.addAccount({options->name,
                                             (services.currentDirectory / options->path).lexically_normal(),
                                             options->server, *type});
      if (!added) return reply(forward(added));
      session.forgetMailboxes();
      reply(std::string());
    };
  });
}

// One message a row; the id last, since it is long.
Result<std::string> listMessages(const std::vector<MessageRow>& messages, OutputForm form) {
  Json array = Json::array();
  std::vector<std::vector<std::string>> rows{{"DATE", "READ", "FLAG", "COLOR", "SENDER", "SUBJECT", "ID"}};
  for (const auto& message : messages) {
    Json object = Json::object();
    object["id"] = message.id;
    object["messageId"] = message.messageId;
    object["sender"] = message.sender;
    object["subject"] = message.subject;
    object["date"] = message.date;
    object["read"] = message.read;
    object["flagIndex"] = message.flagIndex;
    object["color"] = message.color;
    array.push_back(std::move(object));
    rows.push_back({message.date, message.read ? "yes" : "no",
                    message.flagIndex < 0 ? "" : fmt::format("{}", message.flagIndex),
                    message.color == "none" ? "" : message.color, message.sender, message.subject,
                    message.id});
  }
  return form == OutputForm::json ? writeJson(array) : table(rows);
}

}  // namespace

void defineMail(CLI::App& app, Choice& choice) {
  app.require_subcommand(1);
  defineMailAdd(app, choice);
  app.add_subcommand("list", "The accounts of the mail client and the local mailboxes.")->callback([&choice] {
    choice.action = [](Session& session, OutputForm form, const Reply& reply) {
      reply(listAccounts(session.services().mail, form));
    };
  });
  auto name = std::make_shared<std::string>();
  auto* remove = app.add_subcommand("remove", "Forget an account; its mail stays where it is.");
  remove->add_option("NAME", *name, "The account's name.")->required();
  remove->callback([name, &choice] {
    choice.action = [name](Session& session, OutputForm, const Reply& reply) {
      if (auto done = session.services().mail.removeAccount(*name); !done) return reply(forward(done));
      session.forgetMailboxes();
      reply(std::string());
    };
  });
}

void defineMessages(CLI::App& app, Choice& choice) {
  auto id = std::make_shared<std::string>();
  app.add_option("MAILBOX-ID", *id, "The mailbox: its account, a slash, its path.")->required();
  app.callback([id, &choice] {
    choice.action = [id](Session& session, OutputForm form, const Reply& reply) {
      const auto place = session.accountAndPath(*id);
      if (!place) return reply(forward(place));
      const auto messages = session.services().mail.messages(place->first, place->second);
      if (!messages) return reply(forward(messages));
      reply(listMessages(*messages, form));
    };
  });
}

void defineSelect(CLI::App& app, Choice& choice) {
  struct Options {
    std::string mailbox;
    std::vector<std::string> ids;
    bool all = false;
    bool piped = false;
  };
  auto options = std::make_shared<Options>();
  auto* mailbox = app.add_option("--mailbox", options->mailbox, "The mailbox that holds the messages.")
                      ->type_name("MAILBOX-ID");
  app.add_flag("--all", options->all, "Every message of the mailbox.");
  app.add_flag("--stdin", options->piped,
               "The stored message that standard input holds, as another mail reader pipes it.");
  app.add_option("MESSAGE-ID", options->ids, "Messages, by the id or messageId that “messages” prints.");
  app.callback([options, mailbox, &choice] {
    const int ways = (options->all ? 1 : 0) + (options->piped ? 1 : 0) + (options->ids.empty() ? 0 : 1);
    if (ways != 1) throw CLI::ValidationError("select takes message ids, --all or --stdin");
    if (options->piped == (mailbox->count() > 0)) {
      throw CLI::ValidationError(options->piped ? "--stdin goes without --mailbox" : "--mailbox is required");
    }
    choice.action = [options](Session& session, OutputForm form, const Reply& reply) {
      auto& mail = session.services().mail;
      const auto answer = [&](const Result<std::size_t>& selected) {
        if (!selected) return reply(forward(selected));
        reply(countOf(*selected, form, "selected"));
      };
      if (options->piped) return answer(mail.selectPiped(session.services().readStandardInput()));
      const auto place = session.accountAndPath(options->mailbox);
      if (!place) return reply(forward(place));
      answer(options->all ? mail.selectAll(place->first, place->second)
                          : mail.select(place->first, place->second, options->ids));
    };
  });
}

void defineUndo(CLI::App& app, Choice& choice) {
  app.callback([&choice] {
    choice.action = [](Session& session, OutputForm form, const Reply& reply) {
      const auto report = session.services().mail.undo();
      if (!report) return reply(forward(report));
      session.forgetMailboxes();
      std::string out = countOf(report->count, form, "taken back");
      if (form == OutputForm::text) {
        for (const auto& sentence : report->kept) out += "\n" + text::singleLine(sentence);
      } else if (!report->kept.empty()) {
        Json object = Json::object();
        object["count"] = report->count;
        object["kept"] = report->kept;
        out = writeJson(object);
      }
      reply(out);
    };
  });
}

}  // namespace quillbox::cli
