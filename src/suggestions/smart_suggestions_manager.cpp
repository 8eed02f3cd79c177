#include "suggestions/smart_suggestions_manager.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <fmt/format.h>

#include "suggestions/notifications.h"

namespace quillbox {
namespace {

// How long the end of a training run is held back, so that its indicator can be seen.
constexpr std::chrono::milliseconds kDoneDelay{500};

template <class Range, class Text>
std::string listText(const Range& range, const Text& text) {
  std::string list = "[";
  for (const auto& item : range) {
    if (list.size() > 1) list += ", ";
    list += text(item);
  }
  return list + "]";
}

}  // namespace

SmartSuggestionsManager::SmartSuggestionsManager(const Services& services,
                                                 std::unique_ptr<AdvancedLogManager> log)
    : services_(services),
      log_(std::move(log)),
      trainingQueue_(services.dispatch.serialQueue("com.brix.Quillbox4.suggestions.training")),
      modelQueue_(services.dispatch.serialQueue("com.brix.Quillbox4.suggestions.modelQueue")) {}

SmartSuggestionsManager::~SmartSuggestionsManager() {
  lifeline_.end();
}

void SmartSuggestionsManager::post(const NotificationName<NoObject>& name) {
  services_.dispatch.main(lifeline_.onMain([this, name] { services_.notifications.post(name); }));
}

// ---- predicting ----

bool SmartSuggestionsManager::isPredicting() const {
  const std::scoped_lock lock(lock_);
  return isPredicting_;
}

std::vector<Mailbox> SmartSuggestionsManager::predict(std::span<const TrainingExample> examples,
                                                      std::size_t limit, double threshold) {
  std::vector<Mailbox> mailboxes;
  for (auto& prediction : predictions(examples, limit, threshold))
    mailboxes.push_back(std::move(prediction.mailbox));
  return mailboxes;
}

std::vector<Prediction> SmartSuggestionsManager::predictions(std::span<const TrainingExample> examples,
                                                             std::size_t limit, double threshold) {
  if (examples.empty()) return {};
  {
    const std::scoped_lock lock(lock_);
    if (isPredicting_) return {};
    isPredicting_ = true;
  }
  const auto model = model_.snapshot();
  services_.log.debug("predict with examples: " + listText(examples, encodeTrainingExample));
  // One at least, for the first decides whether any is confident enough.
  auto ranked = model.rank(examples, std::max<std::size_t>(limit, 1));
  if (!ranked.empty() && ranked.front().probability < threshold) {
    services_.log.debug(fmt::format("no mailbox cleared confidence {}", threshold));
    ranked.clear();
  } else if (!ranked.empty()) {
    ranked.resize(std::min(ranked.size(), limit));
    std::erase_if(ranked,
                  [&](const Prediction& prediction) { return !(prediction.probability >= threshold); });
    services_.log.debug(
        "predicted mailboxes: " + listText(ranked, [](const Prediction& p) { return p.mailbox.id; }) +
        " with probs: " + listText(ranked, [](const Prediction& p) {
          return fmt::format("{}: {}", p.mailbox.path, p.probability);
        }));
  }
  const std::scoped_lock lock(lock_);
  isPredicting_ = false;
  return ranked;
}

// ---- training from the log ----

void SmartSuggestionsManager::refreshTrainingIfNeeded() {
  if (services_.settings.useSmartFilingSuggestions.get()) {
    trainingQueue_->async([this, reset = resets_.load()] { startRunIfDue(reset); });
  } else {
    forget();
  }
}

void SmartSuggestionsManager::forget() {
  // A run at work belongs to the time before: it must not train into the empty model, nor count as loaded.
  ++resets_;
  modelQueue_->async([this] {
    services_.log.debug("Smart suggestions are switched off; the model is emptied");
    post(notification::smartSuggestionsDisabled);
    model_.reset();
  });
  trainingQueue_->async([this] {
    isLoaded_ = false;
    isRunWanted_ = false;
  });
}

void SmartSuggestionsManager::startRunIfDue(std::uint64_t reset) {
  if (reset != resets_) return;  // switched off since it was asked for
  if (isTraining_) {
    isRunWanted_ = true;
    return;
  }
  if (isLoaded_) return;
  isTraining_ = true;
  isRunWanted_ = false;
  services_.dispatch.background(QualityOfService::userInitiated,
                                lifeline_.offMain([this, reset] { run(reset); }));
}

void SmartSuggestionsManager::run(std::uint64_t reset) {
  trainingQueue_->sync([this] {
    services_.log.debug(fmt::format("refreshTrainingIfNeeded started (isTraining={}, isLoaded={})",
                                    isTraining_.load(), isLoaded_.load()));
  });
  post(notification::isTrainingSuggestions);
  const auto examples = log_->loadAll();
  if (!examples) {
    services_.log.error("Training failed: " + examples.error().message);
    trainingQueue_->async([this, reset] { finishRun(reset, false); });
    post(notification::doneTrainingSuggestions);
    return;
  }
  modelQueue_->sync([&] {
    if (reset != resets_) return;
    model_.train(*examples);
    isTrained_ = !examples->empty();
  });
  trainingQueue_->async([this, reset] { finishRun(reset, true); });
  services_.dispatch.backgroundAfter(
      kDoneDelay, lifeline_.offMain([this] { post(notification::doneTrainingSuggestions); }));
}

void SmartSuggestionsManager::finishRun(std::uint64_t reset, bool loaded) {
  const bool stale = reset != resets_;
  isLoaded_ = loaded && !stale;
  isTraining_ = false;
  if (stale && isRunWanted_) startRunIfDue(resets_);
  if (isTraining_) return;
  for (auto& waiting : std::exchange(waitingForRun_, {})) services_.dispatch.main(std::move(waiting));
}

void SmartSuggestionsManager::prepareForPrediction(std::function<void()> done) {
  refreshTrainingIfNeeded();
  // Behind what the refresh has put on the queue.
  trainingQueue_->async([this, done = std::move(done)] {
    Task lookUp = lifeline_.onMain([this, done] { updateCurrentExamples(done); });
    if (isTraining_) {
      waitingForRun_.push_back(std::move(lookUp));
    } else {
      services_.dispatch.main(std::move(lookUp));
    }
  });
}

// ---- the selected messages ----

std::vector<TrainingExample> SmartSuggestionsManager::currentExamples() const {
  const std::scoped_lock lock(lock_);
  return currentExamples_;
}

void SmartSuggestionsManager::updateCurrentExamples(std::function<void()> done) {
  const std::uint64_t update = ++*updates_;
  if (!services_.settings.useSmartFilingSuggestions.get()) {
    const bool wasUpdating = std::exchange(isUpdating_, false);
    if (wasUpdating || isPredicting()) services_.notifications.post(notification::donePredictingSuggestions);
    if (done) services_.dispatch.main(std::move(done));
    return;
  }
  isUpdating_ = true;
  services_.notifications.post(notification::isPredictingSuggestions);
  fetchTrainingData(
      services_.helper, services_.dispatch, services_.localizer, std::nullopt,
      [updates = updates_, update] { return *updates != update; },
      lifeline_.offMain([this, update, done = std::move(done)](TrainingData data) {
        takeCurrentExamples(update, std::move(data), done);
      }));
}

void SmartSuggestionsManager::takeCurrentExamples(std::uint64_t update, TrainingData data,
                                                  const std::function<void()>& done) {
  if (*updates_ != update) return endUpdate(update, done);
  if (!data) {
    services_.log.error("The selected messages could not be read for a prediction: " + data.error().message);
    post(notification::donePredictingSuggestions);
    return endUpdate(update, done);
  }
  services_.log.debug(fmt::format("Parsed {} training examples", data->size()));
  modelQueue_->async([this, update, done, examples = std::move(*data)]() mutable {
    if (*updates_ != update) return endUpdate(update, done);
    const std::size_t count = examples.size();
    {
      const std::scoped_lock lock(lock_);
      currentExamples_ = std::move(examples);
    }
    services_.log.debug(fmt::format("Parsed {} examples", count));
    post(notification::currentExamplesUpdated);
    endUpdate(update, done);
  });
}

void SmartSuggestionsManager::endUpdate(std::uint64_t update, const std::function<void()>& done) {
  services_.dispatch.main(lifeline_.onMain([this, update, done] {
    if (*updates_ == update) isUpdating_ = false;
    if (done) done();
  }));
}

// ---- learning from the user ----

void SmartSuggestionsManager::trainOnMailbox(const Mailbox& mailbox, TrainingCompletion done) {
  train(mailbox, std::nullopt, std::move(done));
}

void SmartSuggestionsManager::trainOnSelection(const Mailbox& destination, TrainingCompletion done) {
  train(std::nullopt, destination, std::move(done));
}

void SmartSuggestionsManager::train(const std::optional<Mailbox>& source, const std::optional<Mailbox>& label,
                                    TrainingCompletion done) {
  fetchTrainingData(
      services_.helper, services_.dispatch, services_.localizer, source, {},
      lifeline_.offMain([this, label, done = std::move(done)](TrainingData data) mutable {
        if (data && label) {
          for (TrainingExample& example : *data) {
            example.mailboxPath = label->path;
            example.mailboxAccount = label->account;
          }
        }
        services_.dispatch.main(lifeline_.onMain(
            [done = std::move(done), learnt = learn(data)]() mutable { done(std::move(learnt)); }));
      }),
      source ? ScriptOrder::any : ScriptOrder::selection);
}

Result<std::size_t> SmartSuggestionsManager::learn(const TrainingData& data) {
  if (!data) return forward(data);
  services_.log.debug(fmt::format("Parsed {} training examples", data->size()));
  if (auto written = log_->append(*data); !written) return forward(written);
  modelQueue_->sync([&] { model_.train(*data); });
  return data->size();
}

}  // namespace quillbox
