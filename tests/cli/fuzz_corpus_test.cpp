// The seeds of the fuzzer of batch lines, and what it has found, once more.
#include "support/fuzz_corpus.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quillbox::test {
namespace {

TEST(FuzzCorpus, BatchCommands) {
  replayCorpus(QUILLBOX_SOURCE_DIR "/fuzz/corpus/batch_commands", LLVMFuzzerTestOneInput, 8);
}

}  // namespace
}  // namespace quillbox::test
