#include "scripting/application_properties.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include <fmt/format.h>

#include "base/error_numbers.h"

namespace quillbox {
namespace {

constexpr std::int64_t kNoSuchObject = error_number::objectNotFound;
constexpr std::int64_t kWrongType = -1700;
constexpr std::int64_t kReadOnly = -10003;
constexpr std::int64_t kNotSettable = -10006;

using Services = ScriptingServices;
using Getter = Descriptor (*)(const Services&);
using Setter = Result<void> (*)(const Services&, const Descriptor&);

std::unexpected<Error> wrongType(const Descriptor& value, std::string_view type) {
  return fail(kWrongType, fmt::format("Can’t make {} into type {}.", value.description(), type));
}

template <auto Member>
Descriptor getBoolean(const Services& services) {
  return Descriptor::boolean((services.settings.*Member).get());
}
template <auto Member>
Result<void> setBoolean(const Services& services, const Descriptor& value) {
  const auto flag = value.booleanValue();
  if (!flag) return wrongType(value, "boolean");
  return (services.settings.*Member).set(*flag);
}

template <auto Member>
Descriptor getReal(const Services& services) {
  return Descriptor::real((services.settings.*Member).get());
}
template <auto Member>
Result<void> setReal(const Services& services, const Descriptor& value) {
  const auto number = value.realValue();
  if (!number) return wrongType(value, "real");
  return (services.settings.*Member).set(*number);
}

// Settings that are stored as the text of an enumeration.
template <auto Member>
Descriptor getRawText(const Services& services) {
  return Descriptor::text(std::string(rawText((services.settings.*Member).get())));
}
template <auto Member>
Result<void> setRawText(const Services& services, const Descriptor& value) {
  using Enum = std::remove_cvref_t<decltype((services.settings.*Member).get())>;
  const auto text = value.textValue();
  if (!text) return wrongType(value, "text");
  const auto parsed = fromRawText<Enum>(*text);
  if (!parsed) return fail(kNotSettable, fmt::format("Can’t set the property to {}.", value.description()));
  return (services.settings.*Member).set(*parsed);
}

Descriptor getFlag(const Services& services) {
  return Descriptor::int32(static_cast<std::int32_t>(services.settings.flagFiledMessages.get()));
}
Result<void> setFlag(const Services& services, const Descriptor& value) {
  const auto number = value.int32Value();
  if (!number) return wrongType(value, "integer");
  const auto flag = fromRawNumber<MessageFlagAppEnum>(*number);
  if (!flag) return fail(kNotSettable, fmt::format("Can’t set the property to {}.", *number));
  return services.settings.flagFiledMessages.set(*flag);
}

Descriptor getMovesDown(const Services& services) {
  return Descriptor::boolean(services.settings.moveSelectionDirection.get() ==
                             MoveSelectionDirectionAppEnum::down);
}
Result<void> setMovesDown(const Services& services, const Descriptor& value) {
  const auto down = value.booleanValue();
  if (!down) return wrongType(value, "boolean");
  return services.settings.moveSelectionDirection.set(*down ? MoveSelectionDirectionAppEnum::down
                                                            : MoveSelectionDirectionAppEnum::up);
}

Descriptor getFiledCount(const Services& services) {
  return Descriptor::integer(fourCC("comp"), services.settings.filedCount.get());
}

template <auto Field>
Descriptor getSelected(const Services& services) {
  const auto selected = services.selectedMailbox();
  return Descriptor::text(selected ? (*selected).*Field : std::string());
}
Descriptor getSelectedMailbox(const Services& services) {
  const auto selected = services.selectedMailbox();
  if (!selected) return Descriptor::missingValue();
  return Descriptor::record({{"mailboxName", Descriptor::text(selected->name)},
                             {"mailboxPath", Descriptor::text(selected->path)},
                             {"mailboxAccount", Descriptor::text(selected->account)}});
}

Descriptor getLoading(const Services& services) {
  const auto& progress = services.status.mailboxesLoadingPercentage().get();
  return progress ? Descriptor::real(*progress) : Descriptor::missingValue();
}
Result<void> setLoading(const Services& services, const Descriptor& value) {
  if (value.isMissingValue()) {
    services.status.mailboxesLoadingPercentage().set(std::nullopt);
    return {};
  }
  const auto number = value.realValue();
  if (!number) return wrongType(value, "real");
  services.status.mailboxesLoadingPercentage().set(number);
  return {};
}

}  // namespace

struct ApplicationProperties::Property {
  std::string_view key;
  Getter get;
  Setter set = nullptr;  // nullptr: can only be read
};

const std::vector<ApplicationProperties::Property>& ApplicationProperties::table() {
  using S = UserSettings;
  static const std::vector<Property> rows{
      {"hideDockIcon", getBoolean<&S::hideDockIcon>, setBoolean<&S::hideDockIcon>},
      {"selectedAccountsOnly", getBoolean<&S::selectedAccountsOnly>, setBoolean<&S::selectedAccountsOnly>},
      {"mailboxNameOnly", getBoolean<&S::mailboxNameOnly>, setBoolean<&S::mailboxNameOnly>},
      {"caseSensitive", getBoolean<&S::caseSensitive>, setBoolean<&S::caseSensitive>},
      {"markMessagesAsRead", getBoolean<&S::markMessagesAsRead>, setBoolean<&S::markMessagesAsRead>},
      {"moveSelectionDownAfterFiling", getMovesDown, setMovesDown},
      {"labelFiledMessages", getRawText<&S::labelFiledMessages>, setRawText<&S::labelFiledMessages>},
      {"flagFiledMessages", getFlag, setFlag},
      {"beepAfterFiling", getBoolean<&S::beepAfterFiling>, setBoolean<&S::beepAfterFiling>},
      {"alwaysReturnFocusToSearch", getBoolean<&S::alwaysReturnFocusToSearch>,
       setBoolean<&S::alwaysReturnFocusToSearch>},
      {"filingSound", getRawText<&S::filingSound>, setRawText<&S::filingSound>},
      {"shouldKeepOpen", getBoolean<&S::keepOpenAfterFiling>, setBoolean<&S::keepOpenAfterFiling>},
      {"displayFiledCount", getBoolean<&S::displayFiledCount>, setBoolean<&S::displayFiledCount>},
      {"filedCount", getFiledCount},
      {"mailboxName", getSelected<&Mailbox::name>},
      {"mailboxPath", getSelected<&Mailbox::path>},
      {"mailboxAccount", getSelected<&Mailbox::account>},
      {"selectedMailbox", getSelectedMailbox},
      {"focusedFilingOpacity", getReal<&S::focusedFilingOpacity>, setReal<&S::focusedFilingOpacity>},
      {"focusedFilingDuration", getReal<&S::focusedFilingDuration>, setReal<&S::focusedFilingDuration>},
      {"focusedFilingResume", getBoolean<&S::focusedFilingResume>, setBoolean<&S::focusedFilingResume>},
      {"focusedFilingOnAllScreens", getBoolean<&S::focusedFilingOnAllScreens>,
       setBoolean<&S::focusedFilingOnAllScreens>},
      {"archiveGmailBeforeFiling", getBoolean<&S::archiveGmailBeforeFiling>,
       setBoolean<&S::archiveGmailBeforeFiling>},
      {"mailboxesLoadingPercentage", getLoading, setLoading},
      {"calculatePositionInMessageViewer", getBoolean<&S::calculatePositionInMessageViewer>,
       setBoolean<&S::calculatePositionInMessageViewer>},
  };
  return rows;
}

ApplicationProperties::ApplicationProperties(const ScriptingServices& services) : services_(services) {}

const ApplicationProperties::Property* ApplicationProperties::find(std::string_view key) const {
  const auto it = std::ranges::find(table(), key, &Property::key);
  return it != table().end() ? &*it : nullptr;
}

std::vector<std::string_view> ApplicationProperties::keys() const {
  std::vector<std::string_view> keys;
  std::ranges::transform(table(), std::back_inserter(keys), &Property::key);
  return keys;
}

bool ApplicationProperties::handlesKey(std::string_view key) const {
  return find(key) != nullptr;
}

Result<Descriptor> ApplicationProperties::value(std::string_view key) const {
  const auto* property = find(key);
  if (property == nullptr) return fail(kNoSuchObject, fmt::format("Can’t get {}.", key));
  return property->get(services_);
}

Result<void> ApplicationProperties::setValue(std::string_view key, const Descriptor& value) {
  const auto* property = find(key);
  if (property == nullptr) return fail(kNoSuchObject, fmt::format("Can’t get {}.", key));
  if (property->set == nullptr) {
    return fail(kReadOnly, fmt::format("Can’t set {} to {}. Access not allowed.", key, value.description()));
  }
  return property->set(services_, value);
}

}  // namespace quillbox
