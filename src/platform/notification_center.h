// Notifications inside the process: a name with the type of its object, observers called in the order they
// came.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "base/observable.h"

namespace quillbox {

// inline constexpr NotificationName<std::string> shouldReload{"Mailboxes.shouldReload"};
template <class Object>
struct NotificationName {
  std::string_view text;
};

struct NoObject {
  bool operator==(const NoObject&) const = default;
};

// Main queue only. Posting calls the observers before it returns.
class NotificationCenter {
 public:
  template <class Object>
  void post(const NotificationName<Object>& name, const std::type_identity_t<Object>& object = {}) {
    const auto list = lists_.find(name.text);
    if (list != lists_.end()) list->second.notify(static_cast<const void*>(&object));
  }

  template <class Object>
  [[nodiscard]] Subscription observe(const NotificationName<Object>& name,
                                     std::function<void(const Object&)> observer) {
    return lists_[std::string(name.text)].add([observer = std::move(observer)](const void* object) {
      observer(*static_cast<const Object*>(object));
    });
  }

 private:
  std::map<std::string, ObserverList<const void*>, std::less<>> lists_;
};

}  // namespace quillbox
