// Ties tasks on shared queues to an owner that they may outlive.
#pragma once

#include <memory>
#include <mutex>
#include <shared_mutex>
#include <utility>

namespace quillbox {

// A member of the owner, which is destroyed on the main queue and calls end() first in its destructor. After
// that no function that was wrapped here runs any more.
class Lifeline {
 public:
  Lifeline() = default;
  ~Lifeline() { end(); }
  Lifeline(const Lifeline&) = delete;
  Lifeline& operator=(const Lifeline&) = delete;

  // Waits for the functions of offMain() that are running.
  void end() {
    const std::unique_lock lock(state_->mutex);
    state_->alive = false;
  }

  // For the main queue, where nothing else can end the owner meanwhile.
  template <class Function>
  auto onMain(Function function) const {
    return [state = state_, function = std::move(function)](auto&&... arguments) mutable {
      if (state->isAlive()) function(std::forward<decltype(arguments)>(arguments)...);
    };
  }

  // For a pool thread. The function must neither wait for the main queue nor call another one of offMain()
  // itself.
  template <class Function>
  auto offMain(Function function) const {
    return [state = state_, function = std::move(function)](auto&&... arguments) mutable {
      const std::shared_lock lock(state->mutex);
      if (state->alive) function(std::forward<decltype(arguments)>(arguments)...);
    };
  }

 private:
  struct State {
    std::shared_mutex mutex;
    bool alive = true;

    bool isAlive() {
      const std::shared_lock lock(mutex);
      return alive;
    }
  };
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace quillbox
