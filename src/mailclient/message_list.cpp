#include "mailclient/message_list.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <map>
#include <numeric>
#include <set>
#include <string_view>
#include <unordered_set>

#include "base/text.h"
#include "mailclient/purposes.h"

namespace quillbox::mailclient {
namespace {

// How many ids stand for an expanded conversation, and how many conversations that are not shown now are
// remembered as expanded.
constexpr std::size_t kIdsKept = 16;
constexpr std::size_t kElsewhereKept = 100;

struct SortKey {
  std::int64_t number = 0;
  std::string text;
  auto operator<=>(const SortKey&) const = default;
};

SortKey sortKey(std::string_view column, const CachedHeaders& headers, const Marks& marks,
                const MailboxKey& mailbox) {
  const auto& summary = headers.summary;
  if (column == "ecds") return {summary.sent.value_or(headers.received), {}};
  if (column == "ecfr") return {0, text::collationKey(summary.sender)};
  if (column == "ecsu") return {0, text::collationKey(summary.subject)};
  if (column == "ecsz") return {static_cast<std::int64_t>(headers.size), {}};
  if (column == "ecmb") return {0, text::collationKey(mailbox.path)};
  if (column == "ecms") return {marks.has(flag::seen) ? 1 : 0, {}};
  if (column == "ecfl") return {marks.flagIndex(), {}};
  if (column == "eccl") return {static_cast<std::int64_t>(marks.label()), {}};
  return {};
}

bool isSortedByKey(std::string_view column) {
  static constexpr std::string_view columns[] = {"ecds", "ecfr", "ecsu", "ecsz",
                                                 "ecmb", "ecms", "ecfl", "eccl"};
  return std::ranges::find(columns, column) != std::end(columns);
}

}  // namespace

Result<MessageList> MessageList::read(MailStore& store, HeaderCache& headers, const Viewer& viewer) {
  MessageList list;
  list.viewer_ = viewer;
  auto mailboxes = viewer.mailboxes;
  if (mailboxes.empty()) {
    auto inboxes = mailboxesServing(store, Purpose::inbox);
    if (!inboxes) return forward(inboxes);
    mailboxes = std::move(*inboxes);
  }
  for (const auto& key : std::set(mailboxes.begin(), mailboxes.end())) {
    auto folder = store.mailbox(key);
    if (!folder) continue;
    auto index = store.messages(*folder);
    if (!index) continue;
    list.places_.push_back({key, std::move(*folder), std::move(*index)});
    const auto place = static_cast<std::uint32_t>(list.places_.size() - 1);
    const auto& files = list.places_.back().index->files();
    if (viewer.byConversation || isSortedByKey(viewer.sortColumn)) {
      headers.expect(list.places_.back().folder.directory, files.size());
    }
    for (const auto& file : files) list.messages_.push_back({place, 0, &file});
  }
  list.sort(store, headers);
  if (viewer.byConversation) {
    list.group(store, headers);
  } else {
    list.starts_.resize(list.messages_.size() + 1);
    std::iota(list.starts_.begin(), list.starts_.end(), std::size_t{0});
    for (std::size_t i = 0; i < list.messages_.size(); ++i) {
      list.messages_[i].conversation = static_cast<std::uint32_t>(i);
    }
  }
  if (viewer.byConversation || isSortedByKey(viewer.sortColumn)) {
    for (const auto& place : list.places_) headers.save(place.folder.directory, *place.index);
  }
  return list;
}

bool MessageList::isOf(const Viewer& viewer) const {
  return viewer.mailboxes == viewer_.mailboxes && viewer.sortColumn == viewer_.sortColumn &&
         viewer.sortedAscending == viewer_.sortedAscending && viewer.byConversation == viewer_.byConversation;
}

void MessageList::withHeaders(MailStore& store, HeaderCache& headers,
                              const std::function<void(std::uint32_t message, const CachedHeaders&)>& use) {
  std::vector<std::uint32_t> missed;
  for (std::uint32_t i = 0; i < messages_.size(); ++i) {
    const auto known = headers.get(folder(i).directory, file(i));
    if (known) {
      use(i, *known);
    } else if (known.error().number == ENOENT) {
      missed.push_back(i);
    }
  }
  // Renamed since the listing, or gone: one more look at each mailbox tells.
  std::map<std::uint32_t, std::shared_ptr<FolderIndex>> looks;
  for (const auto i : missed) {
    const auto [look, isNew] = looks.try_emplace(messages_[i].place);
    if (isNew) look->second = store.messages(folder(i)).value_or(nullptr);
    const auto* found = look->second ? look->second->find(stableId(file(i).name)) : nullptr;
    if (found == nullptr) continue;
    if (const auto known = headers.get(folder(i).directory, *found)) use(i, *known);
  }
}

void MessageList::sort(MailStore& store, HeaderCache& headers) {
  std::vector<std::int64_t> received;
  received.reserve(messages_.size());
  for (const auto& message : messages_) received.push_back(deliveryTime(message.file->name));
  const bool byKey = isSortedByKey(viewer_.sortColumn);
  std::vector<SortKey> keys;
  if (byKey) {
    keys.resize(messages_.size());
    std::vector<KeywordTable> tables;
    for (const auto& place : places_) {
      tables.push_back(store.keywords(place.folder.directory).value_or(KeywordTable()));
    }
    withHeaders(store, headers, [&](std::uint32_t i, const CachedHeaders& known) {
      const auto place = messages_[i].place;
      keys[i] = sortKey(viewer_.sortColumn, known,
                        Marks::read(MessageName::parse(messages_[i].file->name), tables[place]),
                        places_[place].key);
    });
  }
  std::vector<std::uint32_t> order(messages_.size());
  std::iota(order.begin(), order.end(), 0U);
  std::ranges::sort(order, [&](std::uint32_t a, std::uint32_t b) {
    if (byKey) {
      if (const auto compared = keys[a] <=> keys[b]; compared != 0) {
        return viewer_.sortedAscending ? compared < 0 : compared > 0;
      }
    }
    if (received[a] != received[b]) {
      return !byKey && viewer_.sortedAscending ? received[a] < received[b] : received[a] > received[b];
    }
    return a < b;  // as the mailboxes list them
  });
  std::vector<Message> sorted;
  sorted.reserve(messages_.size());
  for (const auto place : order) sorted.push_back(messages_[place]);
  messages_ = std::move(sorted);
}

void MessageList::group(MailStore& store, HeaderCache& headers) {
  mentions_.reserve(messages_.size() * 2);
  // One that cannot be read is alone.
  withHeaders(store, headers, [&](std::uint32_t i, const CachedHeaders& known) {
    const auto mention = [&](std::uint64_t id) {
      if (id != 0) mentions_.push_back({id, i});
    };
    mention(hashMessageId(known.summary.messageId));
    for (const auto id : known.summary.references) mention(id);
  });
  const auto numbers = groupConversations(messages_.size(), mentions_);
  for (std::size_t i = 0; i < messages_.size(); ++i) messages_[i].conversation = numbers[i];
  for (auto& mention : mentions_) mention.message = numbers[mention.message];
  // Each conversation's messages one behind the other, in their order.
  starts_.assign(messages_.empty() ? 1 : *std::ranges::max_element(numbers) + 2, 0);
  for (const auto number : numbers) ++starts_[number + 1];
  std::partial_sum(starts_.begin(), starts_.end(), starts_.begin());
  auto next = starts_;
  std::vector<Message> grouped(messages_.size());
  for (const auto& message : messages_) grouped[next[message.conversation]++] = message;
  messages_ = std::move(grouped);
}

MessageKey MessageList::key(std::size_t message) const {
  return {mailbox(message), stableId(file(message).name)};
}

MessageList::Flags MessageList::selected(const Viewer& viewer) const {
  Flags flags(messages_.size());
  if (viewer.selected.empty()) return flags;
  std::vector<std::unordered_set<std::string_view>> ids(places_.size());
  for (const auto& key : viewer.selected) {
    const auto place = std::ranges::find(places_, key.mailbox, &Place::key);
    if (place != places_.end()) ids[static_cast<std::size_t>(place - places_.begin())].insert(key.id);
  }
  for (std::size_t i = 0; i < messages_.size(); ++i) {
    const auto& wanted = ids[messages_[i].place];
    flags[i] = !wanted.empty() && wanted.contains(stableId(messages_[i].file->name));
  }
  return flags;
}

std::vector<std::uint32_t> MessageList::mentioning(const std::vector<std::uint64_t>& ids) const {
  std::vector<std::uint32_t> found;
  for (const auto id : ids) {
    const auto place = std::ranges::lower_bound(mentions_, id, {}, &Mention::id);
    if (place != mentions_.end() && place->id == id) found.push_back(place->message);
  }
  return found;
}

MessageList::Flags MessageList::expanded(const Viewer& viewer) const {
  Flags flags(conversations());
  for (const auto& ids : viewer.expanded) {
    for (const auto conversation : mentioning(ids)) {
      flags[conversation] = end(conversation) - begin(conversation) > 1;
    }
  }
  return flags;
}

// Every id that is kept is mentioned by as many messages as possible, so that the conversation is known again
// when messages of it come, move away and vanish.
void MessageList::setExpanded(Viewer& viewer, const Flags& expanded) const {
  std::erase_if(viewer.expanded, [&](const auto& ids) { return !mentioning(ids).empty(); });
  if (viewer.expanded.size() > kElsewhereKept) {
    viewer.expanded.erase(viewer.expanded.begin(), viewer.expanded.end() - kElsewhereKept);
  }
  struct Count {
    std::uint32_t conversation;
    std::int64_t times;  // negative: the most frequent comes first
    std::uint64_t id;
    auto operator<=>(const Count&) const = default;
  };
  std::vector<Count> counts;
  for (const auto& mention : mentions_) {
    if (!expanded[mention.message]) continue;
    if (counts.empty() || counts.back().id != mention.id) counts.push_back({mention.message, 0, mention.id});
    --counts.back().times;
  }
  std::ranges::sort(counts);
  for (std::size_t i = 0; i < counts.size(); ++i) {
    if (i == 0 || counts[i].conversation != counts[i - 1].conversation) viewer.expanded.emplace_back();
    if (viewer.expanded.back().size() < kIdsKept) viewer.expanded.back().push_back(counts[i].id);
  }
}

std::vector<MessageList::Row> MessageList::rows(const Viewer& viewer) const {
  const auto chosen = selected(viewer);
  const auto open = expanded(viewer);
  std::vector<Row> rows;
  for (std::size_t conversation = 0; conversation < conversations(); ++conversation) {
    const auto first = begin(conversation);
    const auto size = end(conversation) - first;
    if (size > 1 && !open[conversation]) {
      const auto from = chosen.begin() + static_cast<std::ptrdiff_t>(first);
      const auto to = from + static_cast<std::ptrdiff_t>(size);
      rows.push_back({first, size, RowKind::collapsedConversation, std::find(from, to, true) != to});
      continue;
    }
    for (auto i = first; i < first + size; ++i) {
      const auto kind = size == 1    ? RowKind::message
                        : i == first ? RowKind::expandedConversation
                                     : RowKind::answer;
      rows.push_back({i, 1, kind, chosen[i]});
    }
  }
  return rows;
}

void MessageList::navigate(Viewer& viewer, Navigation way) const {
  switch (way) {
    case Navigation::expandConversation:
    case Navigation::collapseConversation:
      return toggle(viewer, way);
    case Navigation::selectMessageUp:
    case Navigation::selectMessageDown:
      return step(viewer, way);
  }
}

void MessageList::toggle(Viewer& viewer, Navigation way) const {
  const bool expand = way == Navigation::expandConversation;
  const auto chosen = selected(viewer);
  auto open = expanded(viewer);
  std::set<MessageKey> dropped;
  std::vector<MessageKey> added;
  bool isChanged = false;
  for (std::size_t conversation = 0; conversation < conversations(); ++conversation) {
    const auto first = begin(conversation);
    const auto last = end(conversation);
    const auto from = chosen.begin() + static_cast<std::ptrdiff_t>(first);
    const auto to = chosen.begin() + static_cast<std::ptrdiff_t>(last);
    if (last - first < 2 || open[conversation] == expand || std::find(from, to, true) == to) continue;
    isChanged = true;
    open[conversation] = expand;
    const bool isWhole = std::find(from, to, false) == to;
    for (auto i = first; i < last; ++i) {
      if (expand && isWhole && i != first) dropped.insert(key(i));
      if (!expand && !chosen[i]) added.push_back(key(i));
    }
  }
  if (!isChanged) return;
  setExpanded(viewer, open);
  std::erase_if(viewer.selected, [&](const MessageKey& one) { return dropped.contains(one); });
  std::ranges::move(added, std::back_inserter(viewer.selected));
}

void MessageList::step(Viewer& viewer, Navigation way) const {
  const auto all = rows(viewer);
  if (all.empty()) return;
  const Row* next = nullptr;
  if (way == Navigation::selectMessageDown) {
    const auto last = std::find_if(all.rbegin(), all.rend(), [](const Row& row) { return row.isSelected; });
    if (last == all.rbegin()) return;
    next = last == all.rend() ? &all.front() : &*(last - 1);
  } else {
    const auto first = std::ranges::find_if(all, &Row::isSelected);
    if (first == all.begin()) return;
    next = first == all.end() ? &all.back() : &*(first - 1);
  }
  viewer.selected.clear();
  for (auto i = next->message; i < next->message + next->messages; ++i) viewer.selected.push_back(key(i));
}

}  // namespace quillbox::mailclient
