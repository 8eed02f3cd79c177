#include "mailclient/purposes.h"

#include <algorithm>
#include <array>

#include "base/text.h"

namespace quillbox::mailclient {
namespace {

// In the order of Purpose, folded.
constexpr std::array<std::array<std::string_view, 4>, 5> kNames = {{
    {"inbox", "", "", ""},
    {"drafts", "draft", "[gmail]/drafts", ""},
    {"sent", "sent messages", "sent items", "[gmail]/sent mail"},
    {"trash", "deleted messages", "deleted items", "[gmail]/trash"},
    {"junk", "spam", "junk e-mail", "[gmail]/spam"},
}};

}  // namespace

Result<std::vector<MailboxKey>> mailboxesServing(MailStore& store, Purpose purpose) {
  const auto& names = kNames[static_cast<std::size_t>(purpose)];
  auto accounts = store.accounts().accounts();
  if (!accounts) return forward(accounts);
  if (const auto local = store.accounts().localStore()) accounts->push_back(*local);
  std::vector<MailboxKey> found;
  for (const auto& account : *accounts) {
    if (!account.enabled) continue;
    const auto folders = store.mailboxes(account);
    if (!folders) continue;
    for (const auto& folder : *folders) {
      if (std::ranges::find(names, text::foldCase(folder.path)) != names.end()) {
        found.push_back({account.id, folder.path});
      }
    }
  }
  return found;
}

}  // namespace quillbox::mailclient
