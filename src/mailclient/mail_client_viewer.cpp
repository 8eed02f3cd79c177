// The part of mail_client.h about the viewer in front.
#include "mailclient/mail_client.h"
#include "mailclient/message_list.h"

namespace quillbox::mailclient {

Result<std::vector<ViewerRow>> MailClient::rows(std::size_t limit) {
  const std::lock_guard lock(mutex_);
  if (auto followed = follow(); !followed) environment_.log.error(followed.error().message);
  const auto state = views_.read();
  if (!state) return forward(state);
  std::vector<ViewerRow> rows;
  const auto* viewer = state->front();
  if (viewer == nullptr) return rows;
  const auto list = MessageList::read(store_, headers_, *viewer);
  if (!list) return forward(list);
  for (const auto& row : list->rows(*viewer)) {
    if (rows.size() == limit) break;
    const auto account = store_.account(list->mailbox(row.message).account);
    if (!account) continue;
    auto message = listedRow(*account, list->folder(row.message), list->file(row.message));
    if (message) rows.push_back({std::move(*message), row.kind, row.messages, row.isSelected});
  }
  return rows;
}

Result<void> MailClient::navigate(Navigation way) {
  const std::lock_guard lock(mutex_);
  if (auto followed = follow(); !followed) environment_.log.error(followed.error().message);
  return navigate(way, {});
}

Result<void> MailClient::navigate(Navigation way, const Transaction::Moves& moves) {
  const auto state = views_.read();
  if (!state) return forward(state);
  if (state->front() == nullptr) return {};
  // The headers that are not known yet are read before others are kept waiting.
  auto list = MessageList::read(store_, headers_, *state->front());
  return views_.change([&](ViewState& views) -> Result<void> {
    views.follow(moves);
    auto* viewer = views.front();
    if (viewer == nullptr) return {};
    if (list && !list->isOf(*viewer)) list = MessageList::read(store_, headers_, *viewer);
    if (!list) return forward(list);
    list->navigate(*viewer, way);
    return {};
  });
}

}  // namespace quillbox::mailclient
