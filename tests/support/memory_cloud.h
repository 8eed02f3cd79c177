// A cloud store in memory: one machine's replica of it, or one that several share.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/cloud_store.h"

namespace quillbox {

// Main queue. Deliveries are direct changes of `values`.
class MemoryCloud final : public CloudStore {
 public:
  bool isAvailable() const override { return true; }
  CloudValues readAll() override {
    if (onRead) onRead();
    return values;
  }
  Result<void> set(std::string_view key, const DefaultsValue& value) override {
    ++writes;
    values.insert_or_assign(std::string(key), value);
    if (onSet) onSet(std::string(key), value);
    return {};
  }
  void synchronize() override {}
  Subscription observe(std::function<void()> changed) override { return observers.add(std::move(changed)); }

  CloudValues values;
  std::size_t writes = 0;
  std::function<void()> onRead;
  std::function<void(const std::string& key, const DefaultsValue& value)> onSet;
  ObserverList<> observers;
};

}  // namespace quillbox
