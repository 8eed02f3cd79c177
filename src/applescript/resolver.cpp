#include "applescript/resolver.h"

#include "applescript/resolver_pass.h"

namespace quillbox::applescript {

const HandlerNode* ScriptNode::handler(const Name& wanted) const {
  for (const auto& candidate : handlers) {
    if (candidate->name == wanted) return candidate.get();
  }
  return nullptr;
}

std::optional<std::uint32_t> ScriptNode::member(const Name& wanted) const {
  for (std::uint32_t i = 0; i < members.size(); ++i) {
    if (members[i].name == wanted) return i;
  }
  return std::nullopt;
}

void resolve(Program& program) {
  Resolver(program).run();
}

}  // namespace quillbox::applescript
