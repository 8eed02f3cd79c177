// The memory of one run: counted objects, a limit on their bytes, and an end that frees cycles too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace quillbox::applescript {

class HeapObject;

// Thrown by an allocation that would pass the limit; the evaluator turns it into error -108.
struct OutOfScriptMemory {};

// Owns nothing, but knows every object that was made while it was current, so that it can account for them
// and, when the run ends, break the cycles that counting alone would leak. One thread at a time.
class Heap {
 public:
  explicit Heap(std::size_t limitInBytes) : limit_(limitInBytes) {}
  // Empties every object that is left: a list that outlives its run is an empty list.
  ~Heap();
  Heap(const Heap&) = delete;
  Heap& operator=(const Heap&) = delete;

  std::size_t bytes() const { return bytes_; }

  static Heap* current() { return current_; }

  // Makes a heap the one that new objects of this thread belong to. Without one, objects are not limited.
  class Scope {
   public:
    explicit Scope(Heap* heap) : previous_(current_) { current_ = heap; }
    ~Scope() { current_ = previous_; }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    Heap* previous_;
  };

 private:
  friend class HeapObject;
  static constinit thread_local Heap* current_;

  HeapObject* first_ = nullptr;
  std::size_t bytes_ = 0;
  std::size_t limit_;
};

class HeapObject {
 public:
  HeapObject(const HeapObject&) = delete;
  HeapObject& operator=(const HeapObject&) = delete;

  void retain() noexcept { ++references_; }
  void release() noexcept {
    if (--references_ == 0) dispose(this);
  }
  bool isShared() const noexcept { return references_ > 1; }
  std::uint32_t references() const noexcept { return references_; }

 protected:
  // `bytes` is what the object takes besides what it charges later.
  explicit HeapObject(std::size_t bytes);
  virtual ~HeapObject();

  // Lets go of all other objects; called before destruction, and on what is left when the heap ends.
  virtual void dropChildren() noexcept {}
  // The object has grown to `bytes` in all. Throws OutOfScriptMemory.
  void charge(std::size_t bytes);

 private:
  friend class Heap;
  // Deletes without recursion, however deep the objects hang in each other.
  static void dispose(HeapObject* object) noexcept;

  std::uint32_t references_ = 0;
  Heap* heap_ = nullptr;
  HeapObject* previous_ = nullptr;
  HeapObject* next_ = nullptr;
  std::size_t bytes_ = 0;
};

// A counted pointer.
template <class T>
class Ref {
 public:
  Ref() = default;
  Ref(T* object) noexcept : object_(object) {  // NOLINT: a plain pointer is what it stands for
    if (object_) object_->retain();
  }
  Ref(const Ref& other) noexcept : Ref(other.object_) {}
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <class U>
  Ref(const Ref<U>& other) noexcept : Ref(other.get()) {}  // NOLINT: upcast
  ~Ref() {
    if (object_) object_->release();
  }
  Ref& operator=(Ref other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  T* get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

 private:
  T* object_ = nullptr;
};

template <class T, class... Arguments>
Ref<T> make(Arguments&&... arguments) {
  return Ref<T>(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace quillbox::applescript
