// What the interface shows of scripts at work: the running operation and how far a mailbox list has loaded.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "base/observable.h"

namespace quillbox {

// Main queue only.
class ScriptStatus {
 public:
  // The label of the operation that runs ("getAccounts"), the youngest when there are several; empty when
  // none.
  Observable<std::string>& appleScriptStatus() { return status_; }
  const Observable<std::string>& appleScriptStatus() const { return status_; }

  // The part of the mailbox list that has loaded, as the retrieval script reported it (0 to 1); absent when
  // no load has reported since the last reset.
  Observable<std::optional<double>>& mailboxesLoadingPercentage() { return percentage_; }
  const Observable<std::optional<double>>& mailboxesLoadingPercentage() const { return percentage_; }

  // A load counts as running while its progress is known and is neither 0 nor 100. A fraction never reaches
  // 100, so a finished load blocks the next one until resetLoading().
  bool isLoading() const {
    const auto& progress = percentage_.get();
    return progress.has_value() && *progress != 0 && *progress != 100;
  }

  // Forgets the progress and tells those who wait for the list that no load is running any more.
  void resetLoading() {
    percentage_.set(std::nullopt);
    reset_.notify();
  }
  [[nodiscard]] Subscription observeReset(std::function<void()> observer) {
    return reset_.add(std::move(observer));
  }

  void begin(const std::string& label) {
    if (label.empty()) return;
    running_.push_back(label);
    status_.set(running_.back());
  }
  void end(const std::string& label) {
    const auto it = std::find(running_.rbegin(), running_.rend(), label);
    if (it == running_.rend()) return;
    running_.erase(std::next(it).base());
    status_.set(running_.empty() ? std::string() : running_.back());
  }

 private:
  Observable<std::string> status_;
  Observable<std::optional<double>> percentage_;
  ObserverList<> reset_;
  std::vector<std::string> running_;
};

}  // namespace quillbox
