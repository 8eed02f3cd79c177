// The application's properties as scripts read and set them, by the keys that Resources/Quillbox.sdef names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "platform/descriptor.h"
#include "scripting/script_command.h"

namespace quillbox {

// Main queue only.
class ApplicationProperties {
 public:
  explicit ApplicationProperties(const ScriptingServices& services);

  // All keys ("hideDockIcon", …), the ones for which the application answers.
  std::vector<std::string_view> keys() const;
  bool handlesKey(std::string_view key) const;

  // -1728 for any other key. Without a selected mailbox its texts are empty and the mailbox is missing value.
  Result<Descriptor> value(std::string_view key) const;
  // -1728 for any other key, -10003 for one that can only be read, -1700 for a value of the wrong kind,
  // -10006 for one that is out of range, or the error of storing it.
  Result<void> setValue(std::string_view key, const Descriptor& value);

 private:
  struct Property;
  const Property* find(std::string_view key) const;

  static const std::vector<Property>& table();
  const ScriptingServices& services_;
};

}  // namespace quillbox
