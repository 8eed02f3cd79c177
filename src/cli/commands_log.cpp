// log: what was filed.
#include <CLI/CLI.hpp>
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

}  // namespace

void defineLog(CLI::App& app, Choice& choice) {
  app.require_subcommand(1);
  auto clear = std::make_shared<bool>(false);
  auto* filing = app.add_subcommand("filing", "The filing log, one line a filing.");
  filing->add_flag("--clear", *clear, "Empty the log instead of printing it.");
  filing->callback([clear, &choice] {
    choice.action = [clear](Session& session, OutputForm form, const Reply& reply) {
      const auto& services = session.services();
      // The log's own queue may have lines to write first.
      services.dispatch.background(QualityOfService::userInitiated, [clear, form, &services, reply] {
        Result<std::string> answer = std::string();
        if (*clear) {
          if (auto done = services.filingLog.clear(); !done) answer = forward(done);
        } else if (auto log = services.filingLog.text(); log) {
          answer = linesOf(*log, form);
        } else {
          answer = forward(log);
        }
        services.dispatch.main([reply, answer = std::move(answer)]() mutable { reply(std::move(answer)); });
      });
    };
  });
}

}  // namespace quillbox::cli
