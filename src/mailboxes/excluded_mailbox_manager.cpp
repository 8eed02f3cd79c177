#include "mailboxes/excluded_mailbox_manager.h"

#include <algorithm>

#include "base/text.h"

namespace quillbox {
namespace {

template <class List>
const Mailbox* findLine(const List& list, std::string_view line) {
  const auto found = std::ranges::find_if(list, [&](const Mailbox& mailbox) {
    return mailbox.id == line || text::singleLine(mailbox.id) == line;
  });
  return found == list.end() ? nullptr : &*found;
}

// As it stands, else as an id with control characters is shown.
const Mailbox* mailboxOfLine(std::string_view line, const MailboxDirectory& directory,
                             const std::vector<Mailbox>& stored) {
  if (const auto* known = directory.findMailbox(line)) return known;
  if (const auto* entry = findLine(stored, line)) return entry;
  if (line.find('\\') == std::string_view::npos) return nullptr;
  return findLine(directory.everyMailbox(), line);
}

}  // namespace

void ExcludedMailboxManager::beginEdit() {
  std::string lines;
  for (const auto& mailbox : mailboxes.get()) lines += text::singleLine(mailbox.id) + "\n";
  excludedString.set(std::move(lines));
  showingEdit.set(true);
}

Result<std::vector<ExcludedMailboxManager::UnknownLine>> ExcludedMailboxManager::confirmEdit(
    const MailboxDirectory& directory) {
  std::vector<Mailbox> list;
  std::set<std::string> ids;
  std::vector<UnknownLine> unknown;
  const std::string edited = excludedString.get();
  std::size_t number = 0;
  for (std::size_t start = 0; start < edited.size();) {
    const std::size_t end = std::min(edited.find('\n', start), edited.size());
    const std::string_view line = std::string_view(edited).substr(start, end - start);
    start = end + 1;
    ++number;
    const std::string_view trimmed = text::trim(line);
    if (trimmed.empty()) continue;
    const Mailbox* mailbox = mailboxOfLine(line, directory, mailboxes.get());
    if (mailbox == nullptr) mailbox = mailboxOfLine(trimmed, directory, mailboxes.get());
    if (mailbox == nullptr) {
      unknown.push_back({number, std::string(trimmed)});
    } else if (ids.insert(mailbox->id).second) {
      list.push_back(*mailbox);
    }
  }
  if (auto saved = save(std::move(list), Overwrite::always); !saved) return forward(saved);
  std::string kept;
  for (const auto& line : unknown) kept += line.text + "\n";
  excludedString.set(std::move(kept));
  showingEdit.set(!unknown.empty());
  showingAlert.set(!unknown.empty());
  return unknown;
}

Result<void> ExcludedMailboxManager::removeSelection() {
  const auto removed = change([this](std::vector<Mailbox>& list) {
    return std::erase_if(list,
                         [this](const Mailbox& mailbox) { return selection.get().contains(mailbox.id); }) > 0;
  });
  if (!removed) return forward(removed);
  selection.set({});
  return {};
}

}  // namespace quillbox
