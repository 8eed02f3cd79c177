// How good the suggestions are on mail that was filed before.
//
//   suggestions_eval FILE
//
// FILE holds training examples as JSON, one a line, in the order in which they were filed ("-" reads standard
// input). Everything before each block of 100 is learnt, then the block is predicted, message by message.
// Printed: how often the right mailbox was the first, among the first three, among the first five; and, with
// the threshold of 0.5 that the window uses, how often there was a suggestion at all and how often the first
// one was right.
#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <iterator>
#include <span>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "suggestions/suggestion_model.h"
#include "suggestions/training_example.h"

namespace {

using namespace quillbox;

constexpr std::size_t kBlock = 100;
constexpr double kThreshold = 0.5;

struct Tally {
  std::size_t predicted = 0;
  std::size_t first = 0;
  std::size_t firstThree = 0;
  std::size_t firstFive = 0;
  std::size_t shown = 0;
  std::size_t shownRight = 0;
};

void count(Tally& tally, const ModelSnapshot& model, const TrainingExample& example) {
  const auto ranked = model.rank(std::span(&example, 1), 5);
  const auto right =
      std::ranges::find(ranked, example.mailboxPath, [](const Prediction& p) { return p.mailbox.path; });
  const auto rank = static_cast<std::size_t>(right - ranked.begin());
  const bool found = right != ranked.end();
  ++tally.predicted;
  tally.first += found && rank < 1 ? 1U : 0U;
  tally.firstThree += found && rank < 3 ? 1U : 0U;
  tally.firstFive += found ? 1U : 0U;
  if (!ranked.empty() && ranked.front().probability >= kThreshold) {
    ++tally.shown;
    tally.shownRight += found && rank < 1 ? 1U : 0U;
  }
}

std::string share(std::size_t part, std::size_t whole) {
  return whole == 0
             ? "-"
             : fmt::format("{:.1f} % ({} of {})",
                           100.0 * static_cast<double>(part) / static_cast<double>(whole), part, whole);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "Usage: suggestions_eval FILE\n";
    return 2;
  }
  std::string text;
  if (std::string_view(argv[1]) == "-") {
    text.assign(std::istreambuf_iterator<char>(std::cin), {});
  } else {
    std::ifstream file(argv[1], std::ios::binary);
    if (!file) {
      std::cerr << "Can’t read " << argv[1] << "\n";
      return 1;
    }
    text.assign(std::istreambuf_iterator<char>(file), {});
  }
  std::vector<TrainingExample> examples;
  std::size_t bad = 0;
  decodeTrainingExamples(text, [&](std::size_t line, Result<TrainingExample> example) {
    if (example) {
      examples.push_back(std::move(*example));
    } else {
      ++bad;
      std::cerr << "line " << line << ": " << example.error().message << "\n";
    }
  });

  SuggestionModel model;
  Tally tally;
  const auto start = std::chrono::steady_clock::now();
  for (std::size_t at = 0; at < examples.size(); at += kBlock) {
    const auto block = std::span(examples).subspan(at, std::min(kBlock, examples.size() - at));
    // The first block has nothing before it.
    if (at > 0) {
      const auto snapshot = model.snapshot();
      for (const auto& example : block) count(tally, snapshot, example);
    }
    model.train(block);
  }
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;

  fmt::print("examples             {} ({} lines skipped)\n", examples.size(), bad);
  fmt::print("mailboxes, features  {}, {}\n", model.snapshot().labelCount(),
             model.snapshot().vocabularySize());
  fmt::print("first                {}\n", share(tally.first, tally.predicted));
  fmt::print("among the first 3    {}\n", share(tally.firstThree, tally.predicted));
  fmt::print("among the first 5    {}\n", share(tally.firstFive, tally.predicted));
  fmt::print("shown at {}         {}\n", kThreshold, share(tally.shown, tally.predicted));
  fmt::print("right when shown     {}\n", share(tally.shownRight, tally.shown));
  fmt::print("time                 {:.2f} s\n", seconds.count());
  return bad == 0 ? 0 : 1;
}
