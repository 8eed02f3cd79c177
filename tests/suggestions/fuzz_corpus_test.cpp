// The seeds of the fuzzer of the log's frames, and what it has found, once more.
#include "support/fuzz_corpus.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quillbox::test {
namespace {

TEST(FuzzCorpus, LogFrames) {
  replayCorpus(QUILLBOX_SOURCE_DIR "/fuzz/corpus/log_frames", LLVMFuzzerTestOneInput, 8);
}

}  // namespace
}  // namespace quillbox::test
