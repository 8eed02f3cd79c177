// The scripting objects of a message: itself, its recipients, headers and attachments.
#include <algorithm>
#include <array>

#include "base/text.h"
#include "mailclient/script_model.h"

namespace quillbox::mailclient {
namespace {

namespace as = applescript;

struct ColorCode {
  Code code;
  LabelColor color;
};
constexpr std::array<ColorCode, 9> kColors = {{{code("ccno"), LabelColor::none},
                                               {code("ccbl"), LabelColor::blue},
                                               {code("ccgy"), LabelColor::gray},
                                               {code("ccgr"), LabelColor::green},
                                               {code("ccor"), LabelColor::orange},
                                               {code("ccpu"), LabelColor::purple},
                                               {code("ccre"), LabelColor::red},
                                               {code("ccye"), LabelColor::yellow},
                                               {code("QBrm"), LabelColor::none}}};

// A part of a message that only has properties.
class DetailObject final : public as::ScriptObject {
 public:
  using Properties = std::vector<std::pair<Code, Value>>;
  DetailObject(Code classCode, Value specifier, Properties properties)
      : classCode_(classCode), specifier_(std::move(specifier)), properties_(std::move(properties)) {}

  Code classCode() const override { return classCode_; }
  Value specifier() const override { return specifier_; }
  Outcome<Value> property(Code property) override {
    if (property == code("pcls")) return Value::className(classCode_);
    const auto found = std::ranges::find(properties_, property, &std::pair<Code, Value>::first);
    return found == properties_.end() ? ScriptObject::property(property) : Outcome<Value>(found->second);
  }

 private:
  Code classCode_;
  Value specifier_;
  Properties properties_;
};

class MessageObject final : public as::ScriptObject {
 public:
  MessageObject(MailModel& model, MessageKey key) : model_(model), key_(std::move(key)) {}

  const MessageKey& key() const { return key_; }
  Code classCode() const override { return code("mssg"); }
  Value specifier() const override { return model_.specifier(key_); }

  Outcome<Value> property(Code property) override {
    switch (property) {
      case code("pcls"):
        return Value::className(classCode());
      case code("ID  "):
        return Value::integer(model_.numberOf(key_.id));
      case code("mbxp"):
        return Value::live(mailboxObject(model_, key_.mailbox));
      case code("meid"):
      case code("subj"):
      case code("sndr"):
      case code("rdrc"):
      case code("drcv"):
      case code("msze"):
        return fromSummary(property);
      case code("ctnt"):
      case code("raso"):
        return fromSource(property);
      case code("alhe"):
      case code("rpto"):
        return fromHeaders(property);
      default:
        return fromMarks(property);
    }
  }

  Outcome<void> setProperty(Code property, const Value& value) override {
    if (property == code("mbxp")) {
      if (!value.is(as::Kind::Live)) return as::failure(as::error::cannotSet);
      const auto destination = destinationIn(value.asLive());
      if (!destination) return std::unexpected(destination.error());
      if (!*destination) return as::failure(as::error::cannotSet);
      return moveToMailbox(**destination);
    }
    const auto change = changeFor(property, value);
    if (!change) return std::unexpected(change.error());
    if (!*change) return ScriptObject::setProperty(property, value);
    return model_.change(key_, **change);
  }

  Outcome<std::vector<ObjectRef>> elements(Code elementClass) override {
    std::vector<ObjectRef> objects;
    const auto add = [&](Code itemClass, DetailObject::Properties properties) {
      auto reference =
          as::element::indexed(specifier(), elementClass, static_cast<std::int64_t>(objects.size()) + 1);
      objects.push_back(
          std::make_shared<DetailObject>(itemClass, std::move(reference), std::move(properties)));
    };
    if (elementClass == code("attc")) {
      const auto source = model_.source(key_);
      if (!source) return std::unexpected(source.error());
      for (const auto& attachment : readText(*source).attachments) {
        add(elementClass, {{code("pnam"), Value::text(attachment.name)},
                           {code("attp"), Value::text(attachment.mimeType)},
                           {code("atsz"), Value::integer(static_cast<std::int64_t>(attachment.size))},
                           {code("atdn"), Value::boolean(true)},
                           {code("ID  "), Value::text(attachment.id)}});
      }
      return objects;
    }
    const bool all = elementClass == code("rcpt");
    const bool isRecipient =
        all || elementClass == code("trcp") || elementClass == code("crcp") || elementClass == code("brcp");
    if (!isRecipient && elementClass != code("mhdr")) return ScriptObject::elements(elementClass);
    const auto block = model_.headerText(key_);
    if (!block) return std::unexpected(block.error());
    if (!isRecipient) {
      for (const auto& header : allHeaders(*block)) {
        add(elementClass,
            {{code("pnam"), Value::text(header.name)}, {code("ctnt"), Value::text(header.content)}});
      }
      return objects;
    }
    const auto people = recipients(*block);
    const std::array<std::pair<Code, const std::vector<Address>*>, 3> lists = {
        {{code("trcp"), &people.to}, {code("crcp"), &people.cc}, {code("brcp"), &people.bcc}}};
    for (const auto& [itemClass, list] : lists) {
      if (!all && itemClass != elementClass) continue;
      for (const auto& address : *list) {
        add(itemClass, {{code("pnam"), address.name.empty() ? Value::missing() : Value::text(address.name)},
                        {code("radd"), Value::text(address.address)}});
      }
    }
    return objects;
  }

  // delete: to the trash of its account, as long as it has one; there, or without one, marked as deleted.
  Outcome<void> remove() override {
    const auto trash = model_.mailboxesFor(code("trmb"));
    if (!trash) return std::unexpected(trash.error());
    const auto own = std::ranges::find(*trash, key_.mailbox.account, &MailboxKey::account);
    if (own != trash->end() && *own != key_.mailbox) return moveToMailbox(*own);
    return model_.change(key_, MarkChange::flag(flag::trashed, true));
  }

  Outcome<ObjectRef> moveTo(const as::Place& place) override {
    const auto destination = destinationIn(place.container);
    if (!destination) return std::unexpected(destination.error());
    if (!*destination) return as::failure(as::error::cannotMoveThere);
    auto moved = model_.move(key_, **destination);
    if (!moved) return std::unexpected(moved.error());
    return messageObject(model_, *moved);
  }

  Outcome<ObjectRef> duplicateTo(const std::optional<as::Place>& place, const Value&) override {
    const auto destination =
        place ? destinationIn(place->container) : Outcome<std::optional<MailboxKey>>(key_.mailbox);
    if (!destination) return std::unexpected(destination.error());
    if (!*destination) return as::failure(as::error::cannotMoveThere);
    auto copied = model_.copy(key_, **destination);
    if (!copied) return std::unexpected(copied.error());
    return messageObject(model_, *copied);
  }

 private:
  // Where the message goes when it is to go there: of the mailboxes that "trash mailbox" and the like stand
  // for, to that of its own account. nullopt: no mailbox, or the account has none of that kind.
  Outcome<std::optional<MailboxKey>> destinationIn(const ObjectRef& object) {
    if (const auto* key = mailboxOf(object)) return *key;
    const auto mailboxes = mailboxesOf(object);
    if (!mailboxes) return std::unexpected(mailboxes.error());
    if (!*mailboxes) return std::nullopt;
    const auto own = std::ranges::find(**mailboxes, key_.mailbox.account, &MailboxKey::account);
    return own == (*mailboxes)->end() ? std::nullopt : std::optional(*own);
  }

  Outcome<void> moveToMailbox(const MailboxKey& destination) {
    auto moved = model_.move(key_, destination);
    if (!moved) return std::unexpected(moved.error());
    key_ = std::move(*moved);
    return {};
  }

  Value localDate(std::int64_t seconds) const {
    const auto offset = model_.environment().clock.localOffset(std::chrono::seconds(seconds));
    return Value::date(seconds + offset.count());
  }

  Outcome<Value> fromSummary(Code property) {
    const auto headers = model_.headers(key_);
    if (!headers) return std::unexpected(headers.error());
    const auto& summary = headers->summary;
    switch (property) {
      case code("meid"):
        return Value::text(summary.messageId);
      case code("subj"):
        return Value::text(summary.subject);
      case code("sndr"):
        return Value::text(summary.sender);
      case code("rdrc"):
        return localDate(headers->received);
      case code("drcv"):
        return summary.sent ? localDate(*summary.sent) : Value::missing();
      default:
        return Value::integer(static_cast<std::int64_t>(headers->size));
    }
  }

  Outcome<Value> fromSource(Code property) {
    const auto source = model_.source(key_);
    if (!source) return std::unexpected(source.error());
    return Value::text(property == code("raso") ? sourceText(*source) : readText(*source).text);
  }

  Outcome<Value> fromHeaders(Code property) {
    const auto block = model_.headerText(key_);
    if (!block) return std::unexpected(block.error());
    if (property == code("alhe")) return Value::text(sourceText(*block));
    const auto replyTo = headerContent(*block, "reply-to");
    return Value::text(replyTo.empty() ? headerContent(*block, "from") : replyTo);
  }

  Outcome<Value> fromMarks(Code property) {
    constexpr std::array<Code, 9> known = {code("isrd"), code("isfl"), code("fidx"),
                                           code("mcol"), code("isjk"), code("isdl"),
                                           code("isrp"), code("isfw"), code("isrc")};
    if (std::ranges::find(known, property) == known.end()) return ScriptObject::property(property);
    const auto marks = model_.marks(key_);
    if (!marks) return std::unexpected(marks.error());
    switch (property) {
      case code("isrd"):
        return Value::boolean(marks->has(flag::seen));
      case code("isfl"):
        return Value::boolean(marks->has(flag::flagged));
      case code("fidx"):
        return Value::integer(marks->flagIndex());
      case code("mcol"):
        return Value::constant(std::ranges::find(kColors, marks->label(), &ColorCode::color)->code);
      case code("isjk"):
        return Value::boolean(marks->junk());
      case code("isdl"):
        return Value::boolean(marks->has(flag::trashed));
      case code("isrp"):
        return Value::boolean(marks->has(flag::replied));
      case code("isfw"):
        return Value::boolean(marks->has(flag::passed));
      default:
        return Value::boolean(false);  // a redirected message has no mark of its own
    }
  }

  // What setting a property means for the marks; nothing when it is none of them.
  Outcome<std::optional<MarkChange>> changeFor(Code property, const Value& value) {
    if (property == code("fidx")) {
      const auto index = value.isNumber() ? value.asReal() : -2.0;
      if (!(index >= noFlagIndex && index <= lastFlagIndex)) return as::failure(as::error::cannotSet);
      return MarkChange::flagIndex(static_cast<int>(index));
    }
    if (property == code("mcol")) {
      const auto color = value.is(as::Kind::Constant)
                             ? std::ranges::find(kColors, value.asCode(), &ColorCode::code)
                             : kColors.end();
      if (color == kColors.end()) return as::failure(as::error::cannotSet);
      return MarkChange::label(color->color);
    }
    constexpr std::array<Code, 4> switches = {code("isrd"), code("isfl"), code("isjk"), code("isdl")};
    if (std::ranges::find(switches, property) == switches.end()) return std::nullopt;
    if (!value.is(as::Kind::Boolean)) return as::failure(as::error::cannotSet);
    const bool on = value.asBoolean();
    if (property == code("isrd")) return MarkChange::flag(flag::seen, on);
    if (property == code("isdl")) return MarkChange::flag(flag::trashed, on);
    if (property == code("isjk")) return MarkChange::junk(on);
    if (!on) return MarkChange::flagIndex(noFlagIndex);
    // Flagging keeps the colour of a flag that is there.
    const auto marks = model_.marks(key_);
    if (!marks) return std::unexpected(marks.error());
    return MarkChange::flagIndex(std::max(marks->flagIndex(), 0));
  }

  MailModel& model_;
  MessageKey key_;
};

}  // namespace

ObjectRef messageObject(MailModel& model, MessageKey key) {
  return std::make_shared<MessageObject>(model, std::move(key));
}

const MessageKey* messageOf(const ObjectRef& object) {
  const auto* message = dynamic_cast<const MessageObject*>(object.get());
  return message == nullptr ? nullptr : &message->key();
}

}  // namespace quillbox::mailclient
