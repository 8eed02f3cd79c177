// What the mail client shows and what is selected in it: viewers with their windows, kept in mail/state.json.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/result.h"
#include "mailclient/environment.h"
#include "mailclient/mail_store.h"
#include "mailclient/transaction.h"

namespace quillbox::mailclient {

// One message viewer and the window that it fills.
struct Viewer {
  int id = 0;
  int windowId = 0;
  std::array<int, 4> bounds{80, 60, 1180, 820};  // left, top, right, bottom, in screen points
  bool visible = true;
  bool miniaturized = false;
  bool zoomed = false;
  std::vector<MailboxKey> mailboxes;  // those shown; none means the inboxes of the enabled accounts
  std::vector<MessageKey> selected;
  bool byConversation = true;
  // The conversations that are expanded, each by ids that its messages mention (hashMessageId() of
  // message_ids.h): so they stay expanded wherever the messages go.
  std::vector<std::vector<std::uint64_t>> expanded;
  std::string sortColumn = "ecdr";  // the code of a viewer column: date received
  bool sortedAscending = false;
  bool mailboxListVisible = true;
  bool previewPaneVisible = true;

  bool operator==(const Viewer&) const = default;
};

struct ViewState {
  std::vector<Viewer> viewers;  // front to back; a window's index is its place here, counted from 1
  int nextId = 1;               // no id is used twice

  Viewer& open();  // a new viewer, in front
  Viewer* find(int viewerId);
  // The viewer whose selection is the application's: the first visible one, else the first.
  Viewer* front();
  const Viewer* front() const;
  void bringToFront(int windowId);
  // Messages that moved are selected at their new places.
  void follow(const Transaction::Moves& moves);

  bool operator==(const ViewState&) const = default;
};

// Any number of processes; used under the lock of MailClient.
class ViewStateStore {
 public:
  explicit ViewStateStore(const Environment& environment) : environment_(environment) {}

  // A profile that has none yet shows one viewer. A file that does not decode is kept aside and logged.
  Result<ViewState> read();
  // Reads what is there, lets `change` alter it, and writes it when it differs.
  Result<void> change(const std::function<Result<void>(ViewState&)>& change);
  // Removes drafts that a process that died has left.
  void removeDrafts();

 private:
  Path file() const { return environment_.directory / "state.json"; }

  const Environment& environment_;
  std::optional<FileInfo> seen_;
  ViewState known_;
};

}  // namespace quillbox::mailclient
