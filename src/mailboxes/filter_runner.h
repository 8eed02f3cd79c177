// The background side of the mailbox manager: indexes lists and runs filters on a serial queue of its own.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "mailboxes/mailbox_filter.h"
#include "mailboxes/suggestion_source.h"
#include "platform/dispatch.h"

namespace quillbox {

struct IndexRequest {
  MailboxList list;
  std::vector<MailboxSort> criteria;
  CaseMode caseMode = CaseMode::insensitive;
};

struct IndexAnswer {
  std::shared_ptr<const SearchIndex> index;
  std::uint64_t hash = 0;  // of the list's contents
  bool isNew = false;      // false: list, criteria and mode are those of the index that was built before
};

// Main queue only; completions arrive there too. Requests are worked off in order.
class FilterRunner {
 public:
  static constexpr std::size_t suggestionLimit = 5;
  static constexpr double suggestionThreshold = 0.5;

  explicit FilterRunner(Dispatch& dispatch);
  // Cancels the run that is under way and waits for the queue. No completion is called any more.
  ~FilterRunner();
  FilterRunner(const FilterRunner&) = delete;
  FilterRunner& operator=(const FilterRunner&) = delete;

  // `done` is called once, unless a later request has taken the place of this one before it was begun.
  void index(IndexRequest request, std::function<void(Result<IndexAnswer>)> done);

  // Asks `suggestions` first, when there is one. `done` is called once, unless a later run has taken the
  // place of this one; a run that is under way is then given up.
  void run(FilterSnapshot snapshot, SuggestionSource* suggestions,
           std::function<void(MailboxFilterResult)> done);

  // Lets go of something large off the main queue.
  template <class T>
  void dispose(T value) {
    queue_->async([holder = std::make_shared<T>(std::move(value))]() mutable { holder.reset(); });
  }

 private:
  struct Background;  // touched on the queue only

  Dispatch& dispatch_;
  std::shared_ptr<std::atomic<std::uint64_t>> latestIndexing_ =
      std::make_shared<std::atomic<std::uint64_t>>(0);
  std::shared_ptr<std::atomic<bool>> cancelled_ = std::make_shared<std::atomic<bool>>(false);
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);  // main queue
  std::shared_ptr<Background> background_;
  std::unique_ptr<SerialQueue> queue_;
};

}  // namespace quillbox
