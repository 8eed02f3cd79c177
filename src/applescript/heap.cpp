#include "applescript/heap.h"

namespace quillbox::applescript {

constinit thread_local Heap* Heap::current_ = nullptr;

namespace {
// Objects whose last reference is gone and that wait for their turn, linked by their `next_`.
constinit thread_local HeapObject* pending = nullptr;
constinit thread_local bool draining = false;
}  // namespace

HeapObject::HeapObject(std::size_t bytes) {
  Heap* heap = Heap::current_;
  if (!heap) return;
  if (heap->bytes_ + bytes > heap->limit_) throw OutOfScriptMemory{};
  heap->bytes_ += bytes;
  bytes_ = bytes;
  heap_ = heap;
  next_ = heap->first_;
  if (next_) next_->previous_ = this;
  heap->first_ = this;
}

HeapObject::~HeapObject() {
  if (!heap_) return;
  heap_->bytes_ -= bytes_;
  (previous_ ? previous_->next_ : heap_->first_) = next_;
  if (next_) next_->previous_ = previous_;
}

void HeapObject::charge(std::size_t bytes) {
  if (!heap_ || bytes == bytes_) return;
  if (bytes > bytes_ && heap_->bytes_ - bytes_ + bytes > heap_->limit_) throw OutOfScriptMemory{};
  heap_->bytes_ = heap_->bytes_ - bytes_ + bytes;
  bytes_ = bytes;
}

void HeapObject::dispose(HeapObject* object) noexcept {
  // Taken out of its heap first, so that the links are free to queue it.
  if (object->heap_) {
    object->heap_->bytes_ -= object->bytes_;
    (object->previous_ ? object->previous_->next_ : object->heap_->first_) = object->next_;
    if (object->next_) object->next_->previous_ = object->previous_;
    object->heap_ = nullptr;
  }
  object->next_ = pending;
  pending = object;
  if (draining) return;
  draining = true;
  while (pending) {
    HeapObject* next = pending;
    pending = next->next_;
    next->dropChildren();
    delete next;
  }
  draining = false;
}

Heap::~Heap() {
  while (first_) {
    HeapObject* object = first_;
    first_ = object->next_;
    if (first_) first_->previous_ = nullptr;
    object->heap_ = nullptr;
    object->next_ = nullptr;
    // Kept alive while it lets go of the others: they may hold the last reference to it.
    object->retain();
    object->dropChildren();
    object->release();
  }
}

}  // namespace quillbox::applescript
