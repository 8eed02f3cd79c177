// A secret store in memory that a test can make fail or forget.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "platform/secret_store.h"

namespace quillbox {

class MemorySecretStore final : public SecretStore {
 public:
  Result<std::optional<std::string>> read(std::string_view name) override {
    const std::scoped_lock lock(mutex_);
    if (failing_) return std::unexpected(*failing_);
    const auto found = secrets_.find(std::string(name));
    return found == secrets_.end() ? std::nullopt : std::optional(found->second);
  }
  Result<void> write(std::string_view name, std::string_view secret) override {
    const std::scoped_lock lock(mutex_);
    if (failing_) return std::unexpected(*failing_);
    secrets_[std::string(name)] = secret;
    return {};
  }

  void forget() {
    const std::scoped_lock lock(mutex_);
    secrets_.clear();
  }
  void fail(std::optional<Error> error) {
    const std::scoped_lock lock(mutex_);
    failing_ = std::move(error);
  }

 private:
  std::mutex mutex_;
  std::map<std::string, std::string> secrets_;
  std::optional<Error> failing_;
};

}  // namespace quillbox
