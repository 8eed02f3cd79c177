#include "platform/script_engine.h"

namespace quillbox {

AppleEvent subroutineEvent(std::string handlerName, std::vector<Descriptor> arguments) {
  return {fourCC("ascr"),
          fourCC("psbr"),
          {{fourCC("snam"), Descriptor::text(std::move(handlerName))},
           {fourCC("----"), Descriptor::list(std::move(arguments))}}};
}

}  // namespace quillbox
