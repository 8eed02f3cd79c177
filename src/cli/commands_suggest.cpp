// suggest, train: what the suggestions say, and what they learn from.
#include <CLI/CLI.hpp>
#include <memory>
#include <span>
#include <utility>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/json.h"
#include "base/text.h"
#include "cli/commands.h"
#include "cli/session.h"
#include "suggestions/suggestion_model.h"
#include "suggestions/training_data.h"

namespace quillbox::cli {
namespace {

using Examples = std::vector<TrainingExample>;

struct SuggestOptions {
  // What the window asks for.
  std::int64_t limit = 5;
  double threshold = 0.5;
  std::string trainFile;     // empty: the suggestions log
  std::string examplesFile;  // empty: the selection
};

Result<std::string> readFile(const Services& services, const std::string& file) {
  if (file == "-") return services.readStandardInput();
  return services.files.read((services.currentDirectory / file).lexically_normal());
}

// Every line must be an example: a prediction is told from its neighbours by its place.
Result<Examples> readExamples(const Services& services, const std::string& file) {
  const auto bytes = readFile(services, file);
  if (!bytes) return forward(bytes);
  Examples examples;
  std::optional<Error> first;
  decodeTrainingExamples(*bytes, [&](std::size_t line, Result<TrainingExample> example) {
    if (example) {
      examples.push_back(std::move(*example));
    } else if (!first) {
      first = Error{example.error().number, fmt::format("{}:{}: {}", file, line, example.error().message)};
    }
  });
  if (first) return std::unexpected(*first);
  return examples;
}

void appendPrediction(std::string& out, const std::vector<Prediction>& predictions, OutputForm form) {
  if (form == OutputForm::json) {
    Json array = Json::array();
    for (const auto& [mailbox, probability] : predictions) {
      Json object = Json::object();
      object["path"] = mailbox.path;
      object["account"] = mailbox.account;
      object["probability"] = probability;
      array.push_back(std::move(object));
    }
    out += writeJson(array);
    return;
  }
  bool isFirst = true;
  for (const auto& [mailbox, probability] : predictions) {
    out += fmt::format("{}{} {:.3f}", isFirst ? "" : ", ", text::singleLine(mailbox.id), probability);
    isFirst = false;
  }
  if (predictions.empty()) out += "-";
}

// Off the main queue. `selection` is absent when the options name a file.
Result<std::string> suggest(const Services& services, const SuggestOptions& options,
                            const Examples* selection, OutputForm form) {
  auto trained = options.trainFile.empty() ? services.suggestions.log().loadAll()
                                           : readExamples(services, options.trainFile);
  if (!trained) return forward(trained);
  SuggestionModel model;
  model.train(*trained);
  trained->clear();
  const auto snapshot = model.snapshot();
  const auto limit = static_cast<std::size_t>(options.limit);
  std::string out;
  if (selection != nullptr) {
    appendPrediction(out, snapshot.predict(*selection, limit, options.threshold), form);
    return out;
  }
  const auto examples = readExamples(services, options.examplesFile);
  if (!examples) return forward(examples);
  for (const TrainingExample& example : *examples) {
    if (!out.empty()) out += '\n';
    appendPrediction(out, snapshot.predict(std::span(&example, 1), limit, options.threshold), form);
  }
  return out;
}

}  // namespace

void defineSuggest(CLI::App& app, Choice& choice) {
  auto options = std::make_shared<SuggestOptions>();
  app.add_option("--limit", options->limit, "At most so many mailboxes.")
      ->type_name("N")
      ->check(CLI::Range(std::int64_t{0}, std::int64_t{1'000'000}))
      ->capture_default_str();
  app.add_option("--threshold", options->threshold, "Only mailboxes that are at least so probable.")
      ->type_name("X")
      ->check([](const std::string& value) {
        double threshold = 0;
        // A range alone would let "nan" through.
        const bool fits = CLI::detail::lexical_cast(value, threshold) && threshold >= 0 && threshold <= 1;
        return fits ? std::string() : fmt::format("{} is no number from 0 to 1", text::singleLine(value));
      })
      ->capture_default_str();
  auto* train =
      app.add_option("--train-examples", options->trainFile,
                     "Learn from FILE, one TrainingExample as JSON a line, instead of the suggestions log.")
          ->type_name("FILE");
  auto* examples =
      app.add_option("--examples", options->examplesFile,
                     "One line of suggestions for each line of FILE instead of one for the selected "
                     "messages.")
          ->type_name("FILE");
  app.callback([options, train, examples, &choice] {
    if ((train->count() > 0 && options->trainFile.empty()) ||
        (examples->count() > 0 && options->examplesFile.empty())) {
      throw CLI::ValidationError("The name of a FILE is empty");
    }
    if (options->trainFile == "-" && options->examplesFile == "-") {
      throw CLI::ValidationError("Only one of the two files can be standard input");
    }
    choice.action = [options](Session& session, OutputForm form, const Reply& reply) {
      const auto& services = session.services();
      const auto answer = [&services, options, form, reply](const Examples* selection) {
        auto result = suggest(services, *options, selection, form);
        services.dispatch.main([reply, result = std::move(result)]() mutable { reply(std::move(result)); });
      };
      if (!options->examplesFile.empty()) {
        return services.dispatch.background(QualityOfService::userInitiated, [answer] { answer(nullptr); });
      }
      fetchTrainingData(
          services.helper, services.dispatch, services.localizer, std::nullopt, {},
          [&session, &services, answer, reply](const TrainingData& data) {
            if (data && !data->empty()) return answer(&*data);
            auto failure = data ? session.failWith(QuillboxError::of(QuillboxError::Case::noMessagesSelected))
                                : std::unexpected(data.error());
            services.dispatch.main([reply, failure = std::move(failure)] { reply(failure); });
          });
    };
  });
}

void defineTrain(CLI::App& app, Choice& choice) {
  auto id = std::make_shared<std::string>();
  app.add_option("MAILBOX-ID", *id, "The mailbox whose messages are learnt: its account, a slash, its path.")
      ->required();
  app.callback([id, &choice] {
    choice.action = [id](Session& session, OutputForm form, const Reply& reply) {
      session.withMailbox(*id, [&session, form, reply](const Result<Mailbox>& mailbox) {
        if (!mailbox) return reply(forward(mailbox));
        session.services().suggestions.trainOnMailbox(
            *mailbox,
            [form, reply, shown = text::singleLine(mailbox->id)](const Result<std::size_t>& learnt) {
              if (!learnt) return reply(forward(learnt));
              if (form == OutputForm::json) return reply(fmt::format(R"({{"examples":{}}})", *learnt));
              reply(fmt::format("{} message{} learnt from {}", *learnt, *learnt == 1 ? "" : "s", shown));
            });
      });
    };
  });
}

}  // namespace quillbox::cli
