// The frame of a handler, for as long as it runs.
#pragma once

#include "applescript/evaluator.h"

namespace quillbox::applescript {

class Evaluator::FrameScope {
 public:
  // `slots` are the first of the ones that takeSlots() gave, or null when there are none.
  FrameScope(Evaluator& evaluator, const HandlerNode* handler, ScriptInstance* home, Value me, Value* slots)
      : evaluator_(evaluator), previous_(evaluator.frame_), site_(evaluator.site_) {
    frame_.handler = handler;
    frame_.home = home;
    frame_.it = me;
    frame_.me = std::move(me);
    frame_.slots = slots;
    frame_.globals = home->globals->values.data();
    enter(&frame_);
  }
  ~FrameScope() {
    enter(previous_);
    evaluator_.site_ = site_;
  }
  FrameScope(const FrameScope&) = delete;
  FrameScope& operator=(const FrameScope&) = delete;

  Frame& frame() { return frame_; }

 private:
  void enter(Frame* frame) {
    evaluator_.frame_ = frame;
    evaluator_.slots_ = frame ? frame->slots : nullptr;
    evaluator_.globals_ = frame ? frame->globals : nullptr;
  }

  Evaluator& evaluator_;
  Frame* previous_;
  const Node* site_;
  Frame frame_;
};

}  // namespace quillbox::applescript
