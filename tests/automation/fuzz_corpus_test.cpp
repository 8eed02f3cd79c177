// The seeds of the fuzzer of delivered lists, and what it has found, once more.
#include "support/fuzz_corpus.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quillbox::test {
namespace {

TEST(FuzzCorpus, MailboxText) {
  replayCorpus(QUILLBOX_SOURCE_DIR "/fuzz/corpus/mailbox_text", LLVMFuzzerTestOneInput, 5);
}

}  // namespace
}  // namespace quillbox::test
