#include "cli/session.h"

#include <algorithm>
#include <memory>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/text.h"

namespace quillbox::cli {

void Session::withMailboxes(std::function<void(Result<MailboxList>)> use) {
  if (fetched_) return use(search_.list());
  // The list comes as a notification while the script runs.
  auto received = std::make_shared<std::optional<std::vector<Mailbox>>>();
  auto subscription = std::make_shared<Subscription>(services_.notifications.observe<MailboxReloadPayload>(
      notification::shouldReloadWithList,
      [received](const MailboxReloadPayload& payload) { *received = payload.mailboxes; }));
  const auto variant = services_.settings.useLegacyMailboxRetrieval.get() ? RetrievalVariant::legacy
                                                                          : RetrievalVariant::current;
  const auto started = services_.retrieval.start(
      variant, [this, received, subscription, use](const AppleScriptResult& result) {
        subscription->reset();
        services_.status.resetLoading();
        if (!result) return use(std::unexpected(result.error().toError()));
        if (!*received) {
          return use(fail(error_number::incompletePayload, "The retrieval script delivered no mailbox list"));
        }
        search_.setList(MailboxList(std::move(**received)));
        fetched_ = true;
        use(search_.list());
      });
  if (!started) return use(failWith(started.error()));
  if (*started == RetrievalStart::alreadyLoading) {
    use(fail(error_number::notAvailable, "The mailbox list is being loaded already"));
  }
}

void Session::withMailbox(const std::string& id, std::function<void(Result<Mailbox>)> use) {
  if (auto valid = requireUtf8("The mailbox id", id); !valid) return use(forward(valid));
  withMailboxes([id, use = std::move(use)](const Result<MailboxList>& mailboxes) {
    if (!mailboxes) return use(forward(mailboxes));
    const auto it = std::ranges::find(*mailboxes, id, &Mailbox::id);
    if (it == mailboxes->end()) {
      return use(
          fail(error_number::mailboxNotFound, fmt::format("There is no mailbox “{}”", text::singleLine(id))));
    }
    use(*it);
  });
}

void Session::withRows(const std::string& query, std::function<void(Result<MailboxFilterResult>)> use) {
  if (auto valid = requireUtf8("The query", query); !valid) return use(forward(valid));
  withMailboxes([this, query, use = std::move(use)](const Result<MailboxList>& mailboxes) {
    if (!mailboxes) return use(forward(mailboxes));
    use(search_.run(query));
  });
}

void Session::withFirstRow(const std::string& query, std::function<void(Result<Mailbox>)> use) {
  withRows(query, [query, use = std::move(use)](const Result<MailboxFilterResult>& rows) {
    if (!rows) return use(forward(rows));
    if (rows->filteredMailboxes.empty()) {
      return use(fail(error_number::nothingMatches,
                      fmt::format("No mailbox matches “{}”", text::singleLine(query))));
    }
    use(rows->filteredMailboxes[0]);
  });
}

Result<std::pair<std::string, std::string>> Session::accountAndPath(std::string_view mailboxId) const {
  if (auto valid = requireUtf8("The mailbox id", mailboxId); !valid) return forward(valid);
  auto accounts = services_.mail.accounts();
  if (!accounts) return forward(accounts);
  std::vector<std::string> names{std::string(onMyMac)};
  for (auto& account : *accounts) names.push_back(std::move(account.name));
  const std::string* best = nullptr;
  for (const auto& name : names) {
    const bool fits =
        mailboxId.size() > name.size() + 1 && mailboxId.starts_with(name) && mailboxId[name.size()] == '/';
    if (fits && (best == nullptr || name.size() > best->size())) best = &name;
  }
  if (best == nullptr) {
    return fail(
        error_number::accountNotFound,
        fmt::format("“{}” names no account’s mailbox; an id is ACCOUNT/PATH", text::singleLine(mailboxId)));
  }
  return std::pair(*best, std::string(mailboxId.substr(best->size() + 1)));
}

Result<void> requireUtf8(std::string_view what, std::string_view text) {
  if (text::isValidUtf8(text)) return {};
  return fail(error_number::textNotUtf8, fmt::format("{} is not valid UTF-8", what));
}

}  // namespace quillbox::cli
