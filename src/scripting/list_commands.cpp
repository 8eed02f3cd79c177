// Commands by which the retrieval scripts deliver their lists.
#include "automation/mailbox_payload.h"
#include "base/error_numbers.h"
#include "scripting/commands.h"

namespace quillbox::scripting {
namespace {

// All or nothing: a list that is not complete fails with -1700 and ends the load. A list may be long, so it
// is read off the main queue.
class UpdateMailboxes : public ScriptCommand {
 public:
  using Reader = std::optional<std::vector<Mailbox>> (*)(const Descriptor&);
  UpdateMailboxes(const ScriptingServices& services, const char* name, Reader read)
      : services_(services), name_(name), read_(read) {}

  void performDefaultImplementation(const Reply& reply) override {
    services_.dispatch.background(
        QualityOfService::userInitiated,
        [this, reply, dispatch = &services_.dispatch, list = takeDirectParameter()] {
          auto mailboxes = read_(list);
          dispatch->main([this, reply,
                          delivered = mailboxes ? std::optional<MailboxList>(std::move(*mailboxes))
                                                : std::nullopt] { deliver(delivered, reply); });
        });
  }

 private:
  void deliver(const std::optional<MailboxList>& mailboxes, const Reply& reply) const {
    if (!mailboxes) {
      services_.log.error(std::string(name_) + ": the delivered mailbox list is incomplete");
      services_.status.resetLoading();
      return reply(
          fail(error_number::incompletePayload, services_.localizer.text("LN_mailbox_reload_incomplete")));
    }
    services_.notifications.post(notification::shouldReloadWithList, {*mailboxes, true, name_});
    reply(Descriptor::boolean(true));
  }

  const ScriptingServices& services_;
  const char* name_;
  Reader read_;
};

class UpdateMailboxesWithListV2 final : public UpdateMailboxes {
 public:
  explicit UpdateMailboxesWithListV2(const ScriptingServices& services)
      : UpdateMailboxes(services, "UpdateMailboxesWithListV2", mailboxesFromListV2) {}
};

class UpdateMailboxesWithList final : public UpdateMailboxes {
 public:
  explicit UpdateMailboxesWithList(const ScriptingServices& services)
      : UpdateMailboxes(services, "UpdateMailboxesWithList", mailboxesFromList) {}
};

class UpdateMailboxesLoadedPercentage final : public ScriptCommand {
 public:
  explicit UpdateMailboxesLoadedPercentage(const ScriptingServices& services) : services_(services) {}

  void performDefaultImplementation(const Reply& reply) override {
    const auto* progress = directParameter();
    const auto fraction = progress != nullptr && !progress->isText() ? progress->realValue() : std::nullopt;
    const bool accepted = fraction && *fraction >= 0 && *fraction <= 1;
    if (accepted) services_.status.mailboxesLoadingPercentage().set(fraction);
    reply(Descriptor::boolean(accepted));
  }

 private:
  const ScriptingServices& services_;
};

class ReloadMailboxesScriptingCommand final : public ScriptCommand {
 public:
  explicit ReloadMailboxesScriptingCommand(const ScriptingServices& services) : services_(services) {}

  void performDefaultImplementation(const Reply& reply) override {
    const auto variant = services_.settings.useLegacyMailboxRetrieval.get() ? RetrievalVariant::legacy
                                                                            : RetrievalVariant::current;
    // Not awaited: the list arrives through the commands above, when this one has returned.
    const auto started = services_.retrieval.start(variant);
    if (!started) return reply(std::unexpected(started.error().toError(services_.localizer)));
    reply(Descriptor());
  }

 private:
  const ScriptingServices& services_;
};

}  // namespace

std::unique_ptr<ScriptCommand> makeListCommand(std::string_view className,
                                               const ScriptingServices& services) {
  if (className == "UpdateMailboxesWithListV2") return std::make_unique<UpdateMailboxesWithListV2>(services);
  if (className == "UpdateMailboxesWithList") return std::make_unique<UpdateMailboxesWithList>(services);
  if (className == "UpdateMailboxesLoadedPercentage") {
    return std::make_unique<UpdateMailboxesLoadedPercentage>(services);
  }
  if (className == "ReloadMailboxesScriptingCommand") {
    return std::make_unique<ReloadMailboxesScriptingCommand>(services);
  }
  return nullptr;
}

}  // namespace quillbox::scripting
