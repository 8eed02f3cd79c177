// A list of mailboxes that is shared and never copied.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "model/mailbox.h"

namespace quillbox {

// An immutable list of mailboxes. Copies share it; any thread may read it.
class MailboxList {
 public:
  using Storage = std::vector<Mailbox>;

  MailboxList() = default;
  MailboxList(Storage mailboxes) : storage_(std::make_shared<const Storage>(std::move(mailboxes))) {}

  std::size_t size() const { return storage_ ? storage_->size() : 0; }
  bool empty() const { return size() == 0; }
  const Mailbox& operator[](std::size_t i) const { return (*storage_)[i]; }
  const Mailbox* begin() const { return storage_ ? storage_->data() : nullptr; }
  const Mailbox* end() const { return begin() + size(); }

  // Whether both are the same list, not whether the lists hold equal mailboxes: that would take a walk.
  bool operator==(const MailboxList& other) const = default;

 private:
  std::shared_ptr<const Storage> storage_;
};

}  // namespace quillbox
