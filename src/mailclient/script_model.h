// What the scripting objects of one session share: the store behind the lock, the transaction that the
// script's changes belong to, and the numbers and places of messages.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "applescript/host.h"
#include "applescript/objects.h"
#include "mailclient/mail_client.h"

namespace quillbox::mailclient {

using applescript::Code;
using applescript::code;
using applescript::ObjectRef;
using applescript::Outcome;
using applescript::Value;

// The same failure in a script's terms: what is not there becomes -1728 in AppleScript's own words, a failure
// of the disk -10000 with its sentence.
std::unexpected<applescript::Failure> scriptFailure(const Error& error);
// The same, for changes: the sentence is kept, because it says how far the change got.
std::unexpected<applescript::Failure> changeFailure(const Error& error);

// Between beginEvent() and endEvent() only, that is under the lock of the MailClient.
class MailModel {
 public:
  MailModel(MailClient& client, applescript::Application& application)
      : client_(client), application_(application) {}

  MailStore& store() { return client_.store_; }
  const Environment& environment() const { return client_.environment_; }
  ViewStateStore& viewStore() { return client_.views_; }
  applescript::Application& application() { return application_; }

  // ---- references ----
  Value specifier(const MailboxKey& key) const;
  Value specifier(const MessageKey& key);
  Value accountSpecifier(std::string_view account) const;

  // ---- messages ----
  // The mailbox's messages, newest first.
  Outcome<std::vector<MessageKey>> messages(const MailboxKey& mailbox);
  Outcome<std::size_t> messageCount(const MailboxKey& mailbox);
  Outcome<std::size_t> unreadCount(const MailboxKey& mailbox);
  // A message by its number: it is also found when this session has moved it elsewhere since. nullopt: not
  // there.
  Outcome<std::optional<MessageKey>> messageNumbered(const MailboxKey& mailbox, std::int64_t number);
  std::int32_t numberOf(std::string_view id);
  Outcome<CachedHeaders> headers(const MessageKey& key);
  // Up to the whole file.
  Outcome<std::string> source(const MessageKey& key);
  Outcome<std::string> headerText(const MessageKey& key);

  Outcome<Marks> marks(const MessageKey& key);
  Outcome<void> change(const MessageKey& key, const MarkChange& change);
  Outcome<MessageKey> move(const MessageKey& key, const MailboxKey& destination);
  Outcome<MessageKey> copy(const MessageKey& key, const MailboxKey& destination);
  Outcome<MailboxKey> makeMailbox(const std::string& account, const std::string& path);

  // ---- accounts and mailboxes ----
  Outcome<std::vector<MailAccount>> accounts();  // without the local store
  Outcome<MailAccount> account(std::string_view id);
  Outcome<std::vector<MailboxKey>> mailboxes(std::string_view account);
  // With the path as the store spells it; nullopt: not there.
  Outcome<std::optional<MailboxKey>> findMailbox(const MailboxKey& key);
  // The mailboxes of every account that serve one purpose: by 'inmb', 'drmb', 'stmb', 'trmb', 'jkmb', 'oumb'.
  Outcome<std::vector<MailboxKey>> mailboxesFor(Code purpose);

  // ---- viewers ----
  // As they are with the moves of this session.
  Outcome<ViewState> views();
  Outcome<void> changeViews(const std::function<Result<void>(ViewState&)>& change);
  Outcome<void> navigate(Navigation way);
  // Where the messages of the keys are now, without those that are gone.
  std::vector<MessageKey> present(const std::vector<MessageKey>& keys);

  // Commits the transaction and begins another one.
  Result<void> finish();

 private:
  Transaction& transaction();
  MessageKey current(MessageKey key) const;

  MailClient& client_;
  applescript::Application& application_;
  std::unique_ptr<Transaction> transaction_;
  std::unordered_map<std::int32_t, std::string> numbers_;  // number -> stable id
  std::map<MessageKey, MessageKey> moved_;                 // old place -> new place
};

// ---- the objects; each is made by these alone ----
ObjectRef applicationObject(MailModel& model);
ObjectRef accountObject(MailModel& model, MailAccount account);
ObjectRef mailboxObject(MailModel& model, MailboxKey key);
// The mailbox that stands for one purpose in all accounts, a property of `owner`.
ObjectRef purposeMailboxObject(MailModel& model, Code purpose, Value owner);
ObjectRef messageObject(MailModel& model, MessageKey key);
ObjectRef viewerObject(MailModel& model, int viewerId);
ObjectRef windowObject(MailModel& model, int windowId);

// What a live object is; nullptr for anything else.
const MailboxKey* mailboxOf(const ObjectRef& object);
const MessageKey* messageOf(const ObjectRef& object);
// The mailbox that it is, or all of those that it stands for; nullopt when it is no mailbox.
Outcome<std::optional<std::vector<MailboxKey>>> mailboxesOf(const ObjectRef& object);

std::vector<ObjectRef> messageObjects(MailModel& model, const std::vector<MessageKey>& keys);
Value liveList(const std::vector<ObjectRef>& objects);
// The messages or mailboxes in a value: one live object, or a list of them. -1703 for anything else.
Outcome<std::vector<MessageKey>> messagesIn(const Value& value);
Outcome<std::vector<MailboxKey>> mailboxesIn(const Value& value);

}  // namespace quillbox::mailclient
