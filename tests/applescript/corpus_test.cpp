// Replays the corpora of the fuzzers.
#include "support/fuzz_corpus.h"

extern "C" int fuzzAppleScriptSource(const std::uint8_t* data, std::size_t size);
extern "C" int fuzzSdef(const std::uint8_t* data, std::size_t size);

namespace quillbox::applescript::cases {
namespace {

TEST(Corpora, OfSourceTexts) {
  test::replayCorpus(QUILLBOX_SOURCE_DIR "/fuzz/corpus/applescript_source", fuzzAppleScriptSource, 4);
}
TEST(Corpora, OfScriptingDefinitions) {
  test::replayCorpus(QUILLBOX_SOURCE_DIR "/fuzz/corpus/sdef", fuzzSdef, 4);
}

}  // namespace
}  // namespace quillbox::applescript::cases
