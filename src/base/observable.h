// Values that tell their observers when they change, and the tokens that keep an observation alive.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace quillbox {

// Keeps one observation alive; destroying or reset()ting it ends the observation. Safe to outlive what it
// observes.
class Subscription {
 public:
  Subscription() = default;
  explicit Subscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
  Subscription(Subscription&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
  Subscription& operator=(Subscription&& other) noexcept {
    if (this != &other) {
      reset();
      cancel_ = std::exchange(other.cancel_, nullptr);
    }
    return *this;
  }
  ~Subscription() { reset(); }

  void reset() {
    if (auto cancel = std::exchange(cancel_, nullptr)) cancel();
  }

 private:
  std::function<void()> cancel_;
};

// A list of callbacks. Not thread-safe: used on the main queue only. A callback may add or remove observers,
// itself included, while it is called; those added during a call are first called the next time.
template <class... Args>
class ObserverList {
 public:
  [[nodiscard]] Subscription add(std::function<void(Args...)> callback) {
    const auto id = state_->next++;
    state_->callbacks.emplace(id, std::make_shared<std::function<void(Args...)>>(std::move(callback)));
    return Subscription([weak = std::weak_ptr<State>(state_), id] {
      if (auto state = weak.lock()) state->callbacks.erase(id);
    });
  }

  void notify(const Args&... args) const {
    const auto state = state_;
    const auto snapshot = state->callbacks;
    for (const auto& [id, callback] : snapshot) {
      if (state->callbacks.contains(id)) (*callback)(args...);
    }
  }

 private:
  struct State {
    std::uint64_t next = 0;
    std::map<std::uint64_t, std::shared_ptr<std::function<void(Args...)>>> callbacks;
  };
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

// A published value. Main queue only. Observers are told after the value changed, and only when it differs.
template <class T>
class Observable {
 public:
  Observable() = default;
  explicit Observable(T initial) : value_(std::move(initial)) {}

  const T& get() const { return value_; }

  void set(T value) {
    if (value == value_) return;
    value_ = std::move(value);
    observers_.notify(value_);
  }

  [[nodiscard]] Subscription observe(std::function<void(const T&)> callback) {
    return observers_.add(std::move(callback));
  }

 private:
  T value_{};
  ObserverList<T> observers_;
};

}  // namespace quillbox
