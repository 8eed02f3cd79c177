// Slowing down what comes too fast: at most one delivery an interval, or one after a pause.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "platform/dispatch.h"

namespace quillbox {

enum class ThrottleEdge {
  leading,  // the first value at once, later ones of the interval at its end
  trailing  // the first value opens the interval too and is delivered at its end, unless a later one came
};

// Delivers at most one value an interval, on the main queue, always the latest. Main queue only.
template <class T>
class Throttle {
 public:
  Throttle(Dispatch& dispatch, std::chrono::nanoseconds interval, ThrottleEdge edge,
           std::function<void(const T&)> deliver)
      : state_(std::make_shared<State>(State{dispatch, interval, edge, std::move(deliver), {}, {}})) {}
  ~Throttle() {
    if (state_->window) state_->window->cancel();
    state_->deliver = nullptr;
  }
  Throttle(const Throttle&) = delete;
  Throttle& operator=(const Throttle&) = delete;

  void receive(T value) {
    state_->latest = std::move(value);
    if (state_->window) return;
    openWindow(state_);
    if (state_->edge == ThrottleEdge::leading) deliverLatest(*state_);
  }

  // Delivers now what waits for the end of the interval; the interval goes on.
  void flush() { deliverLatest(*state_); }

 private:
  struct State {
    Dispatch& dispatch;
    std::chrono::nanoseconds interval;
    ThrottleEdge edge;
    std::function<void(const T&)> deliver;
    std::optional<T> latest;
    std::shared_ptr<DelayedWork> window;
  };

  static void openWindow(const std::shared_ptr<State>& state) {
    state->window = state->dispatch.mainAfter(state->interval, [weak = std::weak_ptr<State>(state)] {
      const auto self = weak.lock();
      if (!self) return;
      self->window.reset();
      if (!self->latest) return;
      if (self->edge == ThrottleEdge::leading) openWindow(self);
      deliverLatest(*self);
    });
  }

  static void deliverLatest(State& state) {
    if (!state.latest || !state.deliver) return;
    const auto value = std::exchange(state.latest, std::nullopt);
    state.deliver(*value);
  }

  std::shared_ptr<State> state_;
};

// Delivers a value on the main queue when none has followed it for `pause`; the pause is waited for on a
// background queue. Main queue only.
template <class T>
class Debounce {
 public:
  Debounce(Dispatch& dispatch, std::chrono::nanoseconds pause, std::function<void(const T&)> deliver)
      : state_(std::make_shared<State>(State{dispatch, pause, std::move(deliver), {}, {}})) {}
  ~Debounce() { cancel(); }
  Debounce(const Debounce&) = delete;
  Debounce& operator=(const Debounce&) = delete;

  void receive(T value) {
    cancel();
    state_->latest = std::move(value);
    // The token is this wait's own: a wait that could not be cancelled any more finds another one.
    const auto token = std::make_shared<char>();
    state_->token = token;
    pending_ = state_->dispatch.backgroundAfter(
        state_->pause, [weak = std::weak_ptr<State>(state_), token, dispatch = &state_->dispatch] {
          dispatch->main([weak, token] {
            const auto self = weak.lock();
            if (!self || self->token != token) return;
            self->token.reset();
            const T last = std::move(self->latest);
            self->deliver(last);
          });
        });
  }

  // Forgets what waits.
  void cancel() {
    if (pending_) pending_->cancel();
    pending_.reset();
    state_->token.reset();
  }
  bool isWaiting() const { return state_->token != nullptr; }

 private:
  struct State {
    Dispatch& dispatch;
    std::chrono::nanoseconds pause;
    std::function<void(const T&)> deliver;
    T latest;
    std::shared_ptr<char> token;
  };
  std::shared_ptr<State> state_;
  std::shared_ptr<DelayedWork> pending_;
};

}  // namespace quillbox
