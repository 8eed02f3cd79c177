// log: what was filed, and what the suggestions have learnt from.
#include <CLI/CLI.hpp>
#include <functional>
#include <memory>

#include "base/json.h"
#include "base/text.h"
#include "cli/commands.h"
#include "cli/session.h"

namespace quillbox::cli {
namespace {

std::string linesOf(const std::string& log, OutputForm form) {
  if (form == OutputForm::text) return std::string(text::trim(log));
  Json array = Json::array();
  for (auto& line : text::splitNonEmpty(log, '\n')) array.push_back(std::move(line));
  return writeJson(array);
}

// Each line of the suggestions log is JSON already, but for what was damaged.
std::string examplesOf(const std::string& log, OutputForm form) {
  if (form == OutputForm::text) return std::string(text::trim(log));
  std::string array = "[";
  decodeTrainingExamples(log, [&](std::size_t, const Result<TrainingExample>& example) {
    if (!example) return;
    if (array.size() > 1) array += ',';
    array += encodeTrainingExample(*example);
  });
  return array + "]";
}

struct LogAccess {
  Result<std::string> (*read)(const Services& services, OutputForm form);
  Result<void> (*clear)(const Services& services);
};

void defineOne(CLI::App& app, const char* name, const char* help, LogAccess access, Choice& choice) {
  auto clear = std::make_shared<bool>(false);
  auto* command = app.add_subcommand(name, help);
  command->add_flag("--clear", *clear, "Empty the log instead of printing it.");
  command->callback([clear, access, &choice] {
    choice.action = [clear, access](Session& session, OutputForm form, const Reply& reply) {
      const auto& services = session.services();
      // A log waits for its file, and may have lines to write first.
      services.dispatch.background(QualityOfService::userInitiated, [clear, access, form, &services, reply] {
        Result<std::string> answer = std::string();
        if (!*clear) {
          answer = access.read(services, form);
        } else if (auto done = access.clear(services); !done) {
          answer = forward(done);
        }
        services.dispatch.main([reply, answer = std::move(answer)]() mutable { reply(std::move(answer)); });
      });
    };
  });
}

}  // namespace

void defineLog(CLI::App& app, Choice& choice) {
  app.require_subcommand(1);
  defineOne(app, "filing", "The filing log, one line a filing.",
            {[](const Services& services, OutputForm form) -> Result<std::string> {
               const auto log = services.filingLog.text();
               if (!log) return forward(log);
               return linesOf(*log, form);
             },
             [](const Services& services) { return services.filingLog.clear(); }},
            choice);
  defineOne(app, "suggestions", "The suggestions log, one example as JSON a line.",
            {[](const Services& services, OutputForm form) -> Result<std::string> {
               const auto log = services.suggestions.log().text();
               if (!log) return forward(log);
               return examplesOf(*log, form);
             },
             [](const Services& services) { return services.suggestions.log().clear(); }},
            choice);
}

}  // namespace quillbox::cli
