#include "mailclient/message_ids.h"

#include <algorithm>
#include <vector>

#include "base/text.h"

namespace quillbox::mailclient {
namespace {

constexpr std::string_view kSpace = " \t\r\n";

bool isSpace(char c) {
  return kSpace.find(c) != std::string_view::npos;
}

struct Named {
  std::vector<std::string_view> ids;
  bool isSentence = false;  // something stands beside the ids
};

// Goes through the value once, whatever it holds: what is never closed is looked for once.
Named bracketed(std::string_view value) {
  Named named;
  bool quotesEnd = true;
  bool commentsEnd = true;
  const auto skipTo = [&](std::size_t at, char end, bool& ends) {
    const auto close = ends ? value.find(end, at + 1) : std::string_view::npos;
    ends = close != std::string_view::npos;
    return ends ? close : at;
  };
  for (std::size_t at = 0; at < value.size(); ++at) {
    const char c = value[at];
    if (c == '"') {
      at = skipTo(at, '"', quotesEnd);
    } else if (c == '(') {
      at = skipTo(at, ')', commentsEnd);
    } else if (c == '<') {
      const auto close = value.find('>', at);
      if (close == std::string_view::npos) return named;
      const auto open = value.rfind('<', close);
      const auto id = text::trim(value.substr(open + 1, close - open - 1));
      if (!id.empty()) named.ids.push_back(id);
      at = close;
    } else if (!isSpace(c) && c != ',' && c != ';') {
      named.isSentence = true;
    }
  }
  return named;
}

std::vector<std::string_view> wordsWithAt(std::string_view value) {
  std::vector<std::string_view> words;
  while (true) {
    value.remove_prefix(std::min(value.find_first_not_of(kSpace), value.size()));
    if (value.empty()) return words;
    const auto word = value.substr(0, value.find_first_of(kSpace));
    if (word.find('@') != std::string_view::npos) words.push_back(word);
    value.remove_prefix(word.size());
  }
}

}  // namespace

std::uint64_t hashMessageId(std::string_view id) {
  std::uint64_t hash = 0xcbf29ce484222325ULL;  // FNV-1a
  bool isEmpty = true;
  for (const char c : id) {
    if (isSpace(c)) continue;
    hash ^= static_cast<unsigned char>(c);
    hash *= 0x100000001b3ULL;
    isEmpty = false;
  }
  if (isEmpty) return 0;
  // The upper bits of FNV-1a hardly know of the last characters.
  hash ^= hash >> 32;
  hash *= 0x9e3779b97f4a7c15ULL;
  return std::max<std::uint64_t>(hash >> 16, 1);
}

ReferencedIds referencedIds(std::string_view references, std::string_view inReplyTo) {
  auto ids = bracketed(references).ids;
  if (references.find('<') == std::string_view::npos) ids = wordsWithAt(references);
  auto answered = bracketed(inReplyTo);
  if (answered.isSentence && answered.ids.size() > 1) answered.ids = {answered.ids.back()};
  if (inReplyTo.find('<') == std::string_view::npos) {
    const auto word = text::trim(inReplyTo);
    if (const auto words = wordsWithAt(word); !words.empty() && words.front() == word) answered.ids = words;
  }
  // No more than can be kept: the list is searched for each of them.
  if (answered.ids.size() > 4) answered.ids.erase(answered.ids.begin() + 1, answered.ids.end() - 3);
  // What a message answers is named last.
  for (const auto id : answered.ids) {
    if (std::ranges::find(ids.rbegin(), ids.rend(), id) == ids.rend()) ids.push_back(id);
  }
  ReferencedIds kept{};
  std::size_t count = 0;
  const auto keep = [&](std::string_view id) {
    const auto hash = hashMessageId(id);
    if (std::ranges::find(kept, hash) == kept.end()) kept[count++] = hash;
  };
  if (!ids.empty()) keep(ids.front());
  for (auto id = ids.end() - std::min<std::ptrdiff_t>(3, std::ssize(ids)); id != ids.end(); ++id) keep(*id);
  return kept;
}

}  // namespace quillbox::mailclient
