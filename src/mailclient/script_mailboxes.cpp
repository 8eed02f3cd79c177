// The scripting objects above the messages: the application, its accounts and mailboxes.
#include <algorithm>
#include <array>

#include "base/error_numbers.h"
#include "base/text.h"
#include "mailclient/name_codes.h"
#include "mailclient/script_model.h"

namespace quillbox::mailclient {
namespace {

namespace as = applescript;

constexpr std::string_view kVersion = "4.0";
constexpr std::array<Code, 6> kPurposes = {code("inmb"), code("drmb"), code("stmb"),
                                           code("trmb"), code("jkmb"), code("oumb")};

bool isPurpose(Code property) {
  return std::ranges::find(kPurposes, property) != kPurposes.end();
}

std::vector<ObjectRef> mailboxObjects(MailModel& model, const std::vector<MailboxKey>& keys) {
  std::vector<ObjectRef> objects;
  objects.reserve(keys.size());
  for (const auto& key : keys) objects.push_back(mailboxObject(model, key));
  return objects;
}

// `make new mailbox with properties {name:"A/B"}` inside `prefix` ("" or "Parent/").
Outcome<ObjectRef> makeMailbox(MailModel& model, const std::string& account, const std::string& prefix,
                               const Value& properties) {
  const auto* name = properties.isRecord() ? properties.field(code("pnam")) : nullptr;
  if (name == nullptr || !name->isText()) {
    return as::failure(as::error::parameterMissing, "A new mailbox needs a name.");
  }
  auto made = model.makeMailbox(account, prefix + std::string(name->asText()));
  if (!made) return std::unexpected(made.error());
  return mailboxObject(model, *made);
}

Outcome<ObjectRef> mailboxNamed(MailModel& model, const MailboxKey& key) {
  const auto there = model.findMailbox(key);
  if (!there) return std::unexpected(there.error());
  return *there ? mailboxObject(model, **there) : nullptr;
}

Code accountClass(const MailAccount& account) {
  switch (account.type) {
    case AccountType::imap:
      return code("iact");
    case AccountType::pop:
      return code("pact");
    case AccountType::iCloud:
      return code("itac");
    case AccountType::smtp:
    case AccountType::unknown:
      return code("mact");
  }
  return code("mact");
}

Code accountTypeCode(AccountType type) {
  switch (type) {
    case AccountType::imap:
      return code("etim");
    case AccountType::pop:
      return code("etpo");
    case AccountType::smtp:
      return code("etsm");
    case AccountType::iCloud:
      return code("etit");
    case AccountType::unknown:
      return code("etun");
  }
  return code("etun");
}

class MailboxObject final : public as::ScriptObject {
 public:
  MailboxObject(MailModel& model, MailboxKey key) : model_(model), key_(std::move(key)) {}

  const MailboxKey& key() const { return key_; }
  Code classCode() const override { return code("mbxp"); }
  Value specifier() const override { return model_.specifier(key_); }

  Outcome<Value> property(Code property) override {
    switch (property) {
      case code("pcls"):
        return Value::className(classCode());
      case code("pnam"):
        return Value::text(std::string(leafName(key_.path)));
      case code("mbuc"): {
        const auto count = model_.unreadCount(key_);
        if (!count) return std::unexpected(count.error());
        return Value::integer(static_cast<std::int64_t>(*count));
      }
      case code("mact"): {
        if (key_.account == localAccountName) return Value::missing();
        auto account = model_.account(key_.account);
        if (!account) return std::unexpected(account.error());
        return Value::live(accountObject(model_, std::move(*account)));
      }
      case code("mbxc"): {
        const auto parent = std::string(parentPath(key_.path));
        if (!parent.empty()) {
          auto container = mailboxNamed(model_, {key_.account, parent});
          if (!container) return std::unexpected(container.error());
          if (*container) return Value::live(*container);
        }
        return this->property(code("mact"));
      }
      default:
        return ScriptObject::property(property);
    }
  }

  Outcome<std::vector<ObjectRef>> elements(Code elementClass) override {
    if (elementClass == code("mssg")) {
      const auto keys = model_.messages(key_);
      if (!keys) return std::unexpected(keys.error());
      return messageObjects(model_, *keys);
    }
    if (elementClass != code("mbxp")) return ScriptObject::elements(elementClass);
    auto keys = model_.mailboxes(key_.account);
    if (!keys) return std::unexpected(keys.error());
    std::erase_if(*keys, [&](const MailboxKey& other) { return parentPath(other.path) != key_.path; });
    return mailboxObjects(model_, *keys);
  }

  Outcome<std::size_t> count(Code elementClass) override {
    return elementClass == code("mssg") ? model_.messageCount(key_) : ScriptObject::count(elementClass);
  }

  Outcome<ObjectRef> at(Code elementClass, std::size_t index) override {
    if (elementClass != code("mssg")) return ScriptObject::at(elementClass, index);
    const auto keys = model_.messages(key_);
    if (!keys) return std::unexpected(keys.error());
    return index < keys->size() ? messageObject(model_, (*keys)[index]) : nullptr;
  }

  Outcome<ObjectRef> named(Code elementClass, std::string_view name) override {
    if (elementClass != code("mbxp")) return ScriptObject::named(elementClass, name);
    return mailboxNamed(model_, {key_.account, key_.path + "/" + std::string(name)});
  }

  Outcome<ObjectRef> identified(Code elementClass, const Value& id) override {
    if (elementClass != code("mssg")) return ScriptObject::identified(elementClass, id);
    if (!id.isNumber()) return nullptr;
    const auto number = id.asReal();
    if (!(number >= 1 && number < 536'870'912)) return nullptr;
    const auto key = model_.messageNumbered(key_, static_cast<std::int64_t>(number));
    if (!key) return std::unexpected(key.error());
    return *key ? messageObject(model_, **key) : nullptr;
  }

  Outcome<ObjectRef> make(Code elementClass, const Value& properties, const as::Place&) override {
    if (elementClass != code("mbxp")) return as::failure(as::error::cannotMakeClass);
    return makeMailbox(model_, key_.account, key_.path + "/", properties);
  }

  Outcome<void> remove() override {
    return as::failure(as::error::handlerFailed, "Mailboxes can’t be deleted by scripts.");
  }

 private:
  MailModel& model_;
  MailboxKey key_;
};

// The inbox of all accounts, the trash of all accounts ...
class PurposeMailbox final : public as::ScriptObject {
 public:
  PurposeMailbox(MailModel& model, Code purpose, Value owner)
      : model_(model), purpose_(purpose), owner_(std::move(owner)) {}

  Code classCode() const override { return code("mbxp"); }
  Value specifier() const override { return as::element::property(owner_, purpose_); }

  Outcome<Value> property(Code property) override {
    if (property == code("pcls")) return Value::className(classCode());
    if (property == code("mact") || property == code("mbxc")) return Value::missing();
    if (property == code("pnam")) {
      return Value::text(std::string(model_.application().terminology().propertyName(purpose_)));
    }
    if (property != code("mbuc")) return ScriptObject::property(property);
    const auto all = keys();
    if (!all) return std::unexpected(all.error());
    std::size_t unread = 0;
    for (const auto& key : *all) {
      const auto count = model_.unreadCount(key);
      if (!count) return std::unexpected(count.error());
      unread += *count;
    }
    return Value::integer(static_cast<std::int64_t>(unread));
  }

  Outcome<std::vector<ObjectRef>> elements(Code elementClass) override {
    const auto all = keys();
    if (!all) return std::unexpected(all.error());
    if (elementClass == code("mbxp")) return mailboxObjects(model_, *all);
    if (elementClass != code("mssg")) return ScriptObject::elements(elementClass);
    std::vector<ObjectRef> objects;
    for (const auto& key : *all) {
      const auto messages = model_.messages(key);
      if (!messages) return std::unexpected(messages.error());
      std::ranges::move(messageObjects(model_, *messages), std::back_inserter(objects));
    }
    return objects;
  }

  Outcome<void> remove() override {
    return as::failure(as::error::handlerFailed, "Mailboxes can’t be deleted by scripts.");
  }

  Outcome<std::vector<MailboxKey>> keys() const { return model_.mailboxesFor(purpose_); }

 private:
  MailModel& model_;
  Code purpose_;
  Value owner_;
};

class AccountObject final : public as::ScriptObject {
 public:
  AccountObject(MailModel& model, MailAccount account) : model_(model), account_(std::move(account)) {}

  Code classCode() const override { return accountClass(account_); }
  Value specifier() const override { return model_.accountSpecifier(account_.id); }

  Outcome<Value> property(Code property) override {
    switch (property) {
      case code("pcls"):
        return Value::className(classCode());
      case code("ID  "):
        return Value::text(account_.id);
      case code("pnam"):
        return Value::text(account_.name);
      case code("isac"):
        return Value::boolean(account_.enabled);
      case code("host"):
        return Value::text(account_.server);
      case code("unme"):
        return Value::text(account_.userName);
      case code("flln"):
        return Value::text(account_.fullName);
      case code("atyp"):
        return Value::constant(accountTypeCode(account_.type));
      case code("path"):
        return Value::text(readableBytes(account_.path.string()));
      case code("emad"): {
        std::vector<Value> addresses;
        for (const auto& address : account_.emailAddresses) addresses.push_back(Value::text(address));
        return Value::list(std::move(addresses));
      }
      default:
        return ScriptObject::property(property);
    }
  }

  Outcome<void> setProperty(Code property, const Value& value) override {
    auto changed = account_;
    auto* text = property == code("pnam")   ? &changed.name
                 : property == code("host") ? &changed.server
                 : property == code("unme") ? &changed.userName
                 : property == code("flln") ? &changed.fullName
                                            : nullptr;
    if (text != nullptr) {
      if (!value.isText()) return as::failure(as::error::cannotSet);
      *text = std::string(value.asText());
    } else if (property == code("isac")) {
      if (!value.is(as::Kind::Boolean)) return as::failure(as::error::cannotSet);
      changed.enabled = value.asBoolean();
    } else if (property == code("emad")) {
      changed.emailAddresses.clear();
      for (const auto& item : value.items()) {
        if (!item.isText()) return as::failure(as::error::cannotSet);
        changed.emailAddresses.emplace_back(item.asText());
      }
      if (!value.isList()) return as::failure(as::error::cannotSet);
    } else {
      return ScriptObject::setProperty(property, value);
    }
    if (const auto done = model_.store().accounts().update(changed); !done)
      return changeFailure(done.error());
    account_ = std::move(changed);
    return {};
  }

  Outcome<std::vector<ObjectRef>> elements(Code elementClass) override {
    if (elementClass != code("mbxp")) return ScriptObject::elements(elementClass);
    const auto keys = model_.mailboxes(account_.id);
    if (!keys) return std::unexpected(keys.error());
    return mailboxObjects(model_, *keys);
  }

  Outcome<ObjectRef> named(Code elementClass, std::string_view name) override {
    if (elementClass != code("mbxp")) return ScriptObject::named(elementClass, name);
    return mailboxNamed(model_, {account_.id, std::string(name)});
  }

  Outcome<ObjectRef> make(Code elementClass, const Value& properties, const as::Place&) override {
    if (elementClass != code("mbxp")) return as::failure(as::error::cannotMakeClass);
    return makeMailbox(model_, account_.id, "", properties);
  }

 private:
  MailModel& model_;
  MailAccount account_;
};

class ApplicationObject final : public as::ScriptObject {
 public:
  explicit ApplicationObject(MailModel& model) : model_(model) {}

  Code classCode() const override { return code("capp"); }
  Value specifier() const override { return Value::application(model_.application()); }

  Outcome<Value> property(Code property) override {
    if (isPurpose(property)) return Value::live(purposeMailboxObject(model_, property, specifier()));
    switch (property) {
      case code("pcls"):
        return Value::className(classCode());
      case code("pnam"):
        return Value::text(model_.application().name());
      case code("vers"):
        return Value::text(std::string(kVersion));
      case code("pisf"):
        return Value::boolean(false);
      case code("slct"): {
        const auto state = model_.views();
        if (!state) return std::unexpected(state.error());
        const auto* front = state->front();
        if (front == nullptr) return Value::list({});
        return liveList(messageObjects(model_, model_.present(front->selected)));
      }
      default:
        return ScriptObject::property(property);
    }
  }

  Outcome<std::vector<ObjectRef>> elements(Code elementClass) override {
    std::vector<ObjectRef> objects;
    if (elementClass == code("mbxp")) {
      const auto keys = model_.mailboxes(localAccountName);
      if (!keys) return std::unexpected(keys.error());
      return mailboxObjects(model_, *keys);
    }
    if (elementClass == code("mvwr") || elementClass == code("cwin")) {
      const auto state = model_.views();
      if (!state) return std::unexpected(state.error());
      for (const auto& viewer : state->viewers) {
        objects.push_back(elementClass == code("mvwr") ? viewerObject(model_, viewer.id)
                                                       : windowObject(model_, viewer.windowId));
      }
      return objects;
    }
    const bool anyAccount = elementClass == code("mact");
    if (!anyAccount && elementClass != code("iact") && elementClass != code("pact") &&
        elementClass != code("itac")) {
      return ScriptObject::elements(elementClass);
    }
    auto accounts = model_.accounts();
    if (!accounts) return std::unexpected(accounts.error());
    for (auto& account : *accounts) {
      if (anyAccount || accountClass(account) == elementClass) {
        objects.push_back(accountObject(model_, std::move(account)));
      }
    }
    return objects;
  }

  Outcome<ObjectRef> named(Code elementClass, std::string_view name) override {
    if (elementClass == code("mbxp")) {
      return mailboxNamed(model_, {std::string(localAccountName), std::string(name)});
    }
    if (elementClass == code("mact")) {
      // The spelling that fits exactly comes first: names may differ in case only.
      auto accounts = model_.accounts();
      if (!accounts) return std::unexpected(accounts.error());
      const auto exact = std::ranges::find(*accounts, name, &MailAccount::name);
      if (exact != accounts->end()) return accountObject(model_, std::move(*exact));
    }
    return ScriptObject::named(elementClass, name);
  }

  Outcome<ObjectRef> identified(Code elementClass, const Value& id) override {
    if (elementClass != code("mact") || !id.isText()) return ScriptObject::identified(elementClass, id);
    auto account = model_.account(id.asText());
    if (account) return accountObject(model_, std::move(*account));
    if (account.error().number == as::error::noSuchObject) return nullptr;
    return std::unexpected(account.error());
  }

  Outcome<ObjectRef> make(Code elementClass, const Value& properties, const as::Place&) override {
    if (elementClass == code("mbxp"))
      return makeMailbox(model_, std::string(localAccountName), "", properties);
    if (elementClass != code("mvwr")) return as::failure(as::error::cannotMakeClass);
    int id = 0;
    const auto opened = model_.changeViews([&](ViewState& state) -> Result<void> {
      id = state.open().id;
      return {};
    });
    if (!opened) return std::unexpected(opened.error());
    auto viewer = viewerObject(model_, id);
    if (!properties.isRecord()) return viewer;
    for (const auto& [name, value] : properties.fields()) {
      if (auto set = viewer->setProperty(name.code(), value); !set) return std::unexpected(set.error());
    }
    return viewer;
  }

 private:
  MailModel& model_;
};

}  // namespace

ObjectRef applicationObject(MailModel& model) {
  return std::make_shared<ApplicationObject>(model);
}
ObjectRef accountObject(MailModel& model, MailAccount account) {
  return std::make_shared<AccountObject>(model, std::move(account));
}
ObjectRef mailboxObject(MailModel& model, MailboxKey key) {
  return std::make_shared<MailboxObject>(model, std::move(key));
}
ObjectRef purposeMailboxObject(MailModel& model, Code purpose, Value owner) {
  return std::make_shared<PurposeMailbox>(model, purpose, std::move(owner));
}

const MailboxKey* mailboxOf(const ObjectRef& object) {
  const auto* mailbox = dynamic_cast<const MailboxObject*>(object.get());
  return mailbox == nullptr ? nullptr : &mailbox->key();
}

Outcome<std::optional<std::vector<MailboxKey>>> mailboxesOf(const ObjectRef& object) {
  if (const auto* key = mailboxOf(object)) return std::vector<MailboxKey>{*key};
  const auto* purpose = dynamic_cast<const PurposeMailbox*>(object.get());
  if (purpose == nullptr) return std::nullopt;
  auto keys = purpose->keys();
  if (!keys) return std::unexpected(keys.error());
  return std::move(*keys);
}

}  // namespace quillbox::mailclient
