#include "mailboxes/filter_runner.h"

#include <optional>
#include <utility>

#include "base/hash.h"

namespace quillbox {
namespace {

std::uint64_t hashOf(const MailboxList& list) {
  std::uint64_t hash = list.size();
  for (const auto& mailbox : list) hash = hash * 0x9E3779B97F4A7C15U + std::hash<Mailbox>{}(mailbox);
  return hash;
}

}  // namespace

struct FilterRunner::Background {
  std::optional<IndexRequest> lastRequest;
  IndexAnswer lastAnswer;
  SearchMemory memory;
};

FilterRunner::FilterRunner(Dispatch& dispatch)
    : dispatch_(dispatch),
      background_(std::make_shared<Background>()),
      queue_(dispatch.serialQueue("com.brix.Quillbox4.mailboxes")) {}

FilterRunner::~FilterRunner() {
  *alive_ = false;
  *cancelled_ = true;
  ++*latestIndexing_;
  queue_->sync([] {});
}

void FilterRunner::index(IndexRequest request, std::function<void(Result<IndexAnswer>)> done) {
  const std::uint64_t number = ++*latestIndexing_;
  queue_->async([number, latest = latestIndexing_, background = background_, alive = alive_,
                 dispatch = &dispatch_, request = std::move(request), done = std::move(done)]() mutable {
    if (*latest != number) return;
    const auto answer = [&]() -> Result<IndexAnswer> {
      const std::uint64_t hash = hashOf(request.list);
      const auto& last = background->lastRequest;
      if (last && hash == background->lastAnswer.hash && last->criteria == request.criteria &&
          last->caseMode == request.caseMode && last->list.size() == request.list.size()) {
        auto same = background->lastAnswer;
        same.isNew = false;
        return same;
      }
      auto built = SearchIndex::build(request.list, request.criteria, request.caseMode);
      if (!built) return forward(built);
      background->lastRequest = std::move(request);
      background->lastAnswer = {*built, hash, true};
      return background->lastAnswer;
    }();
    dispatch->main([alive, answer, done = std::move(done)] {
      if (*alive) done(answer);
    });
  });
}

void FilterRunner::run(FilterSnapshot snapshot, SuggestionSource* suggestions,
                       std::function<void(MailboxFilterResult)> done) {
  *cancelled_ = true;
  cancelled_ = std::make_shared<std::atomic<bool>>(false);
  queue_->async([cancelled = cancelled_, background = background_, alive = alive_, dispatch = &dispatch_,
                 snapshot = std::move(snapshot), suggestions, done = std::move(done)]() mutable {
    if (*cancelled) return;
    if (suggestions != nullptr) {
      snapshot.askedForSuggestions = true;
      snapshot.suggestions = suggestions->predict(suggestionLimit, suggestionThreshold);
    }
    auto result = runFilter(snapshot, &background->memory, *cancelled);
    if (!result) return;
    auto holder = std::make_shared<MailboxFilterResult>(std::move(*result));
    dispatch->main([alive, cancelled, holder, done = std::move(done)] {
      if (*alive && !*cancelled) done(std::move(*holder));
    });
  });
}

}  // namespace quillbox
