// Learns from the messages that the user files and proposes mailboxes for the selected ones.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "automation/applescript_helper.h"
#include "base/result.h"
#include "model/mailbox.h"
#include "platform/dispatch.h"
#include "platform/localizer.h"
#include "platform/log.h"
#include "platform/notification_center.h"
#include "settings/user_settings.h"
#include "suggestions/advanced_log_manager.h"
#include "suggestions/lifeline.h"
#include "suggestions/suggestion_model.h"
#include "suggestions/training_data.h"

namespace quillbox {

// One instance, made at launch and destroyed on the main queue. The model is written on one serial queue, the
// flags of a training run on another; predicting takes a snapshot and waits for neither.
class SmartSuggestionsManager {
 public:
  // How many examples were learnt. Called on the main queue, once, unless the manager is destroyed before.
  using TrainingCompletion = std::function<void(Result<std::size_t>)>;

  struct Services {
    AppleScriptHelper& helper;
    UserSettings& settings;
    Dispatch& dispatch;
    NotificationCenter& notifications;
    const Localizer& localizer;
    Log& log;
  };
  SmartSuggestionsManager(const Services& services, std::unique_ptr<AdvancedLogManager> log);
  ~SmartSuggestionsManager();
  SmartSuggestionsManager(const SmartSuggestionsManager&) = delete;
  SmartSuggestionsManager& operator=(const SmartSuggestionsManager&) = delete;

  // The most probable mailboxes for the examples together, best first: at most `limit`, each with a
  // probability of at least `threshold`; nothing while another prediction is under way. Any thread but the
  // main queue's; fast, and never waits for training.
  std::vector<Mailbox> predict(std::span<const TrainingExample> examples, std::size_t limit,
                               double threshold);
  std::vector<Prediction> predictions(std::span<const TrainingExample> examples, std::size_t limit,
                                      double threshold);

  // Starts a training run from the suggestions log when one is due: the setting is on, and no run is under
  // way or has loaded the log before. With the setting off, forgets what was learnt. Main queue; returns at
  // once.
  void refreshTrainingIfNeeded();

  // Looks up the selected messages for the next prediction; "Quillbox.currentExamplesUpdated" or, on a
  // failure, "Quillbox.donePredictingSuggestions" follows. A later call takes the place of one that is still
  // at work, which then ends silently. Main queue; `done` is called there, once, however the lookup ended.
  void updateCurrentExamples(std::function<void()> done = {});
  // For a program that predicts once: refreshes the training, waits for it and looks up the selection. Main
  // queue; `done` is called there, once.
  void prepareForPrediction(std::function<void()> done);
  // The examples of the last lookup. Any thread.
  std::vector<TrainingExample> currentExamples() const;

  // Learns every message of the mailbox, or the selected messages as if they were in the mailbox: adds them
  // to the suggestions log and, when that is written, to the model. Main queue.
  void trainOnMailbox(const Mailbox& mailbox, TrainingCompletion done);
  void trainOnSelection(const Mailbox& destination, TrainingCompletion done);

  // Any thread.
  bool isTraining() const { return isTraining_; }
  bool isPredicting() const;
  bool isTrained() const { return isTrained_; }
  bool isLoaded() const { return isLoaded_; }

  // Not on the main queue.
  AdvancedLogManager& log() { return *log_; }

 private:
  // `reset` is the count of switches-off when the run was asked for; a run of before one comes to nothing.
  void startRunIfDue(std::uint64_t reset);
  void run(std::uint64_t reset);
  void finishRun(std::uint64_t reset, bool loaded);
  void forget();
  void post(const NotificationName<NoObject>& name);
  void takeCurrentExamples(std::uint64_t update, TrainingData data, const std::function<void()>& done);
  void endUpdate(std::uint64_t update, const std::function<void()>& done);
  void train(const std::optional<Mailbox>& source, const std::optional<Mailbox>& label,
             TrainingCompletion done);
  Result<std::size_t> learn(const TrainingData& data);

  Services services_;
  const std::unique_ptr<AdvancedLogManager> log_;

  SuggestionModel model_;  // written on modelQueue_
  std::atomic<bool> isTrained_ = false;
  // Written on trainingQueue_.
  std::atomic<bool> isTraining_ = false;
  std::atomic<bool> isLoaded_ = false;
  std::vector<std::function<void()>> waitingForRun_;  // for the main queue
  bool isRunWanted_ = false;  // asked for while a run was at work that a reset made worthless

  std::atomic<std::uint64_t> resets_ = 0;
  // Counts lookups of the selection; shared with those that are at work.
  std::shared_ptr<std::atomic<std::uint64_t>> updates_ = std::make_shared<std::atomic<std::uint64_t>>(0);
  bool isUpdating_ = false;  // main queue

  mutable std::mutex lock_;  // held for moments only
  bool isPredicting_ = false;
  std::vector<TrainingExample> currentExamples_;

  Lifeline lifeline_;
  // Last, so that they end first: their tasks use everything above.
  std::unique_ptr<SerialQueue> trainingQueue_;
  std::unique_ptr<SerialQueue> modelQueue_;
};

}  // namespace quillbox
