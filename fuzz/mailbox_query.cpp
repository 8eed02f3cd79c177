// Any bytes as a query that is typed in two steps, and as the mailboxes that it is looked for in: the fast
// search finds what the regular expression finds.
//
// The input is the query and then the paths, each ended by a zero byte. An upper-case first letter of the
// query makes the case count.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mailboxes/index_search.h"
#include "mailboxes/plain_search.h"
#include "require.h"

namespace {

using namespace quillbox;

std::vector<std::string> pieces(std::string_view bytes) {
  std::vector<std::string> found;
  while (!bytes.empty()) {
    const auto end = std::min(bytes.find('\0'), bytes.size());
    found.emplace_back(bytes.substr(0, end));
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
  }
  return found;
}

void search(const std::shared_ptr<const SearchIndex>& index, const std::string& query, SearchMemory& memory) {
  const std::atomic<bool> goOn = false;
  const CompiledQuery compiled(query, index->caseMode());
  const PlainSearch plain(query, index->caseMode());
  for (const auto field : {SearchField::path, SearchField::name}) {
    const auto hits = IndexSearch(index, compiled).all(field, {}, &memory, goOn);
    const auto expected = plain.hits(*index, field);
    // The search may give a query up that is too much work.
    if (!expected) continue;
    for (SearchIndex::Position p = 0; p < index->size(); ++p) {
      require(hits->contains(p) == (*expected)[p]);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 2'000) return 0;
  const auto texts = pieces({reinterpret_cast<const char*>(data), size});
  if (texts.empty()) return 0;
  const std::string& query = texts.front();
  std::vector<Mailbox> mailboxes;
  for (const auto& path : texts) {
    const auto slash = path.rfind('/');
    mailboxes.push_back(Mailbox::make(slash == std::string::npos ? path : path.substr(slash + 1), path, "A"));
  }
  const bool startsUpper = !query.empty() && query.front() >= 'A' && query.front() <= 'Z';
  const auto index = SearchIndex::build(MailboxList(std::move(mailboxes)), {},
                                        startsUpper ? CaseMode::sensitive : CaseMode::insensitive);
  if (!index) return 0;
  SearchMemory memory;
  search(*index, query.substr(0, query.size() / 2), memory);
  search(*index, query, memory);
  return 0;
}
