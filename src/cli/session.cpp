#include "cli/session.h"

#include <fmt/format.h>

#include "automation/selected_messages.h"
#include "base/error_numbers.h"
#include "base/text.h"

namespace quillbox::cli {

void Session::withMailboxes(std::function<void(Result<void>)> use) {
  if (fetched_) return use({});
  auto& manager = services_.mailboxes;
  const auto started = manager.reload("quillboxctl", ReloadKind::forced,
                                      [this, &manager, use](const AppleScriptResult& result) {
                                        if (!result) return use(std::unexpected(result.error().toError()));
                                        manager.whenSettled([this, use] {
                                          fetched_ = true;
                                          use({});
                                        });
                                      });
  if (!started) return use(failWith(started.error()));
  if (*started == RetrievalStart::alreadyLoading) {
    use(fail(error_number::notAvailable, "The mailbox list is being loaded already"));
  }
}

void Session::withMailbox(const std::string& id, std::function<void(Result<Mailbox>)> use) {
  if (auto valid = requireUtf8("The mailbox id", id); !valid) return use(forward(valid));
  withMailboxes([this, id, use = std::move(use)](const Result<void>& ready) {
    if (!ready) return use(forward(ready));
    if (const auto* mailbox = services_.mailboxes.findMailbox(id)) return use(*mailbox);
    use(fail(error_number::mailboxNotFound, fmt::format("There is no mailbox “{}”", text::singleLine(id))));
  });
}

void Session::withRows(const std::string& query, std::function<void(Result<void>)> use) {
  if (auto valid = requireUtf8("The query", query); !valid) return use(forward(valid));
  withMailboxes([this, query, use = std::move(use)](const Result<void>& ready) {
    if (!ready) return use(forward(ready));
    const auto search = [this, query, use] { services_.mailboxes.search(query, [use] { use({}); }); };
    if (!services_.settings.useSmartFilingSuggestions.get()) return search();
    services_.suggestions.prepareForPrediction(search);
  });
}

void Session::withFirstRow(const std::string& query, std::function<void(Result<Mailbox>)> use) {
  withRows(query, [this, query, use = std::move(use)](const Result<void>& ready) {
    if (!ready) return use(forward(ready));
    const auto& rows = services_.mailboxes.filteredMailboxes.get();
    if (!rows.empty()) return use(rows[0]);
    use(fail(error_number::nothingMatches, fmt::format("No mailbox matches “{}”", text::singleLine(query))));
  });
}

void Session::withSelection(std::function<void(Result<std::size_t>)> use) {
  using script_texts::Include;
  getSelectedMessages(services_.helper, services_.dispatch, services_.log, Include::no, Include::no,
                      [this, use = std::move(use)](const auto& messages) {
                        if (!messages) return use(failWith(messages.error()));
                        if (messages->empty()) {
                          return use(failWith(QuillboxError::of(QuillboxError::Case::noMessagesSelected)));
                        }
                        use(messages->size());
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
