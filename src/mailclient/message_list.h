// What one viewer lists: the messages of its mailboxes in its order, as rows of messages and conversations.
//
//   const auto list = MessageList::read(store, headers, viewer);
//   for (const auto& row : list->rows(viewer)) ...        // top to bottom
//   list->navigate(viewer, Navigation::selectMessageDown);
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/result.h"
#include "mailclient/conversations.h"
#include "mailclient/header_cache.h"
#include "mailclient/mail_store.h"
#include "mailclient/view_state.h"

namespace quillbox::mailclient {

enum class Navigation : std::uint8_t {
  expandConversation,    // those of the selected messages
  collapseConversation,  // the same
  selectMessageUp,       // the row above the first selected one; the last row when none is selected
  selectMessageDown      // the row below the last selected one; the first row when none is selected
};

enum class RowKind : std::uint8_t {
  message,                // one that is alone
  collapsedConversation,  // stands for all its messages; shows the first of them
  expandedConversation,   // the first message of one whose other messages follow
  answer                  // those others
};

// A picture of the moment; read again for every use. Used under the lock of MailClient.
class MessageList {
 public:
  struct Row {
    std::size_t message = 0;   // the place among the messages of the one that the row shows
    std::size_t messages = 1;  // how many it stands for, from that place on
    RowKind kind = RowKind::message;
    bool isSelected = false;  // one of those it stands for is
  };

  // Opens no message when the viewer is not organised by conversation and sorted by date received; otherwise
  // reads every header that is not known yet. A mailbox that is gone has no messages. Fails when the accounts
  // cannot be read.
  //
  // Columns that no header shown tells about (recipients, attachments, number) sort as date received does.
  // Equal messages are sorted newest first. A conversation is where the first of its messages in that order
  // is, and its messages follow in it.
  static Result<MessageList> read(MailStore& store, HeaderCache& headers, const Viewer& viewer);
  // Whether the viewer still lists what it listed when this was read.
  bool isOf(const Viewer& viewer) const;

  std::vector<Row> rows(const Viewer& viewer) const;
  MessageKey key(std::size_t message) const;
  const MailboxKey& mailbox(std::size_t message) const { return places_[messages_[message].place].key; }
  const Folder& folder(std::size_t message) const { return places_[messages_[message].place].folder; }
  const MessageFile& file(std::size_t message) const { return *messages_[message].file; }

  // A row that is selected by going to it is selected whole: all messages of a collapsed conversation. At
  // either end the selection stays. Expanding a conversation that is selected whole leaves its first message
  // selected, collapsing one with a selected message selects it whole.
  void navigate(Viewer& viewer, Navigation way) const;

 private:
  struct Place {
    MailboxKey key;
    Folder folder;
    std::shared_ptr<FolderIndex> index;  // holds the files below
  };
  struct Message {
    std::uint32_t place = 0;
    std::uint32_t conversation = 0;
    const MessageFile* file = nullptr;
  };
  using Flags = std::vector<bool>;

  // Calls `use` for every message whose headers can be read.
  void withHeaders(MailStore& store, HeaderCache& headers,
                   const std::function<void(std::uint32_t message, const CachedHeaders&)>& use);
  void sort(MailStore& store, HeaderCache& headers);
  void group(MailStore& store, HeaderCache& headers);
  std::size_t begin(std::size_t conversation) const { return starts_[conversation]; }
  std::size_t end(std::size_t conversation) const { return starts_[conversation + 1]; }
  std::size_t conversations() const { return starts_.size() - 1; }
  // The numbers of the conversations that mention one of the ids.
  std::vector<std::uint32_t> mentioning(const std::vector<std::uint64_t>& ids) const;

  Flags selected(const Viewer& viewer) const;  // by message
  Flags expanded(const Viewer& viewer) const;  // by conversation
  void setExpanded(Viewer& viewer, const Flags& expanded) const;
  void toggle(Viewer& viewer, Navigation way) const;
  void step(Viewer& viewer, Navigation way) const;

  Viewer viewer_;  // as it was read for
  std::vector<Place> places_;
  std::vector<Message> messages_;       // in the order of the rows
  std::vector<std::size_t> starts_{0};  // of the conversations among the messages, and their end
  std::vector<Mention> mentions_;       // by id; the conversation in the place of the message
};

}  // namespace quillbox::mailclient
