// Commands about filing, for the filing script and for scripts of the user's own.
#include "base/error_numbers.h"
#include "filing/gmail_filing_mode_manager.h"
#include "scripting/commands.h"

namespace quillbox::scripting {
namespace {

constexpr std::int32_t kLeftArrow = 123;
constexpr std::int32_t kRightArrow = 124;

class MailboxPathScriptingCommand final : public ScriptCommand {
 public:
  explicit MailboxPathScriptingCommand(const ScriptingServices& services) : services_(services) {}
  void performDefaultImplementation(const Reply& reply) override {
    const auto selected = services_.selectedMailbox();
    reply(Descriptor::text(selected ? selected->path : ""));
  }

 private:
  const ScriptingServices& services_;
};

class AccountNameScriptingCommand final : public ScriptCommand {
 public:
  explicit AccountNameScriptingCommand(const ScriptingServices& services) : services_(services) {}
  void performDefaultImplementation(const Reply& reply) override {
    const auto selected = services_.selectedMailbox();
    reply(Descriptor::text(selected ? selected->account : ""));
  }

 private:
  const ScriptingServices& services_;
};

class ShouldKeepOpenScriptingCommand final : public ScriptCommand {
 public:
  explicit ShouldKeepOpenScriptingCommand(const ScriptingServices& services) : services_(services) {}
  void performDefaultImplementation(const Reply& reply) override {
    reply(Descriptor::boolean(services_.settings.keepOpenAfterFiling.get()));
  }

 private:
  const ScriptingServices& services_;
};

class PlayFilingSoundScriptCommand final : public ScriptCommand {
 public:
  explicit PlayFilingSoundScriptCommand(const ScriptingServices& services) : services_(services) {}
  void performDefaultImplementation(const Reply& reply) override {
    if (const auto resource = filingSoundResource(services_.settings.filingSound.get(), services_.random)) {
      if (const auto file = services_.resources.locate(*resource, "aiff")) services_.sounds.play(*file);
    } else {
      services_.sounds.beep();
    }
    reply(Descriptor());
  }

 private:
  const ScriptingServices& services_;
};

// Calls a handler of the installed filing script; its failure is the command's.
class FilingScriptCommand : public ScriptCommand {
 public:
  FilingScriptCommand(const ScriptingServices& services, const char* handler,
                      std::vector<Descriptor> parameters = {})
      : services_(services), handler_(handler), parameters_(std::move(parameters)) {}

  void performDefaultImplementation(const Reply& reply) override {
    if (!services_.helper.isFilingScriptInstalled()) {
      return reply(
          fail(error_number::filingScriptRequired, services_.localizer.text("LN_filing_script_not_found")));
    }
    services_.helper.runFilingScriptHandler(handler_, parameters_, [reply](const AppleScriptResult& result) {
      if (!result) return reply(std::unexpected(result.error().toError()));
      reply(Descriptor());
    });
  }

 private:
  const ScriptingServices& services_;
  const char* handler_;
  std::vector<Descriptor> parameters_;
};

// A key code and no modifier keys.
std::vector<Descriptor> plainKey(std::int32_t keyCode) {
  std::vector<Descriptor> parameters{Descriptor::int32(keyCode)};
  parameters.resize(5, Descriptor::boolean(false));
  return parameters;
}

class SelectMessageDownScriptingCommand final : public FilingScriptCommand {
 public:
  explicit SelectMessageDownScriptingCommand(const ScriptingServices& services)
      : FilingScriptCommand(services, "selectMessageDown") {}
};

class SelectMessageUpScriptingCommand final : public FilingScriptCommand {
 public:
  explicit SelectMessageUpScriptingCommand(const ScriptingServices& services)
      : FilingScriptCommand(services, "selectMessageUp") {}
};

class ExpandConversationScriptingCommand final : public FilingScriptCommand {
 public:
  explicit ExpandConversationScriptingCommand(const ScriptingServices& services)
      : FilingScriptCommand(services, "sendKeyCodeToMail", plainKey(kRightArrow)) {}
};

class CollapseConversationScriptingCommand final : public FilingScriptCommand {
 public:
  explicit CollapseConversationScriptingCommand(const ScriptingServices& services)
      : FilingScriptCommand(services, "sendKeyCodeToMail", plainKey(kLeftArrow)) {}
};

// 1 archive before filing, 2 file directly, 0 without an account name.
class GmailAccountFilingModeScriptingCommand final : public ScriptCommand {
 public:
  explicit GmailAccountFilingModeScriptingCommand(const ScriptingServices& services) : services_(services) {}

  void performDefaultImplementation(const Reply& reply) override {
    const auto* account = directParameter();
    if (account == nullptr || !account->isText()) return reply(Descriptor::int32(0));
    // Archiving that the user asked for goes before every mode.
    if (services_.filing.runningAction() == FilingAction::archive) return reply(Descriptor::int32(1));
    const auto answer = [&services = services_, reply, name = account->textValue().value_or("")] {
      const GmailFilingModeManager manager(services.settings, services.accounts, services.log);
      reply(Descriptor::int32(manager.answerForAccount(name)));
    };
    if (!services_.accounts.accounts().get().empty()) return answer();
    services_.accounts.refresh([answer](const auto&) { answer(); });
  }

 private:
  const ScriptingServices& services_;
};

template <class Command>
std::unique_ptr<ScriptCommand> make(const ScriptingServices& services) {
  return std::make_unique<Command>(services);
}

struct Row {
  std::string_view className;
  std::unique_ptr<ScriptCommand> (*make)(const ScriptingServices&);
};

constexpr Row kRows[] = {
    {"MailboxPathScriptingCommand", make<MailboxPathScriptingCommand>},
    {"AccountNameScriptingCommand", make<AccountNameScriptingCommand>},
    {"ShouldKeepOpenScriptingCommand", make<ShouldKeepOpenScriptingCommand>},
    {"PlayFilingSoundScriptCommand", make<PlayFilingSoundScriptCommand>},
    {"SelectMessageDownScriptingCommand", make<SelectMessageDownScriptingCommand>},
    {"SelectMessageUpScriptingCommand", make<SelectMessageUpScriptingCommand>},
    {"ExpandConversationScriptingCommand", make<ExpandConversationScriptingCommand>},
    {"CollapseConversationScriptingCommand", make<CollapseConversationScriptingCommand>},
    {"GmailAccountFilingModeScriptingCommand", make<GmailAccountFilingModeScriptingCommand>},
};

}  // namespace

std::unique_ptr<ScriptCommand> makeFilingCommand(std::string_view className,
                                                 const ScriptingServices& services) {
  for (const auto& row : kRows) {
    if (row.className == className) return row.make(services);
  }
  return nullptr;
}

}  // namespace quillbox::scripting
