// Any bytes as the text of a delivered mailbox list, and as the failure of a filing script.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "automation/failure_text.h"
#include "automation/mailbox_payload.h"

namespace {

class Keys final : public quillbox::Localizer {
 public:
  std::string text(std::string_view key) const override { return std::string(key); }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillbox;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  for (const auto& mailbox : mailboxesFromText(bytes, "Work")) {
    if (mailbox.path.empty() || mailbox.name.empty() || mailbox.id != "Work/" + mailbox.path) std::abort();
  }
  const Keys keys;
  (void)parseFailureText(bytes, keys);
  return 0;
}
