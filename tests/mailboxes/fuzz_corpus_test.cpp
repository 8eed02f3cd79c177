// The seeds of the fuzzer of queries, and what it has found, once more.
#include "support/fuzz_corpus.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quillbox::test {
namespace {

TEST(FuzzCorpus, MailboxQuery) {
  replayCorpus(QUILLBOX_SOURCE_DIR "/fuzz/corpus/mailbox_query", LLVMFuzzerTestOneInput, 16);
}

}  // namespace
}  // namespace quillbox::test
