// A stack of known size for work that nests, so that how deep a script may recurse is the same on every
// thread and every machine: the main thread's stack has the size of a resource limit, that of other threads
// another.
#pragma once

#include <cstddef>
#include <functional>

namespace quillbox::applescript {

// `bytes` of an optimised build in the frames of this one. Address sanitizers put guards around every
// variable, so that it is more; thread sanitizers remember at most 65,536 calls, so that it is less.
std::size_t stackOfThisBuild(std::size_t bytes);

// Runs `work` on the calling thread, but on a fresh stack with stackOfThisBuild(bytes) and a reserve for what
// notices too late that they are used up. The memory is taken page by page as it is touched. What `work`
// throws comes out of this function. Throws std::bad_alloc when the address space has no room.
void runOnOwnStack(std::size_t bytes, const std::function<void()>& work);

}  // namespace quillbox::applescript
