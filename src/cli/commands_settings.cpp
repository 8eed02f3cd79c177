// settings: read and change any setting by its key.
#include <CLI/CLI.hpp>
#include <memory>

#include "cli/commands.h"
#include "cli/session.h"

namespace quillbox::cli {
namespace {

Result<std::string> list(const UserSettings& settings, OutputForm form) {
  std::string object;
  std::vector<std::vector<std::string>> rows{{"KEY", "VALUE"}};
  for (const auto& value : settings.allValues()) {
    object += (object.empty() ? "\"" : ",\"") + std::string(value.key) + "\":" + value.json;
    rows.push_back({std::string(value.key), value.text});
  }
  return form == OutputForm::json ? "{" + object + "}" : table(rows);
}

}  // namespace

void defineSettings(CLI::App& app, Choice& choice) {
  app.require_subcommand(1);
  app.add_subcommand("list", "All settings with their values.")->callback([&choice] {
    choice.action = [](Session& session, OutputForm form, const Reply& reply) {
      session.services().settings.synchronize();
      reply(list(session.services().settings, form));
    };
  });

  auto key = std::make_shared<std::string>();
  auto value = std::make_shared<std::string>();
  auto* get = app.add_subcommand("get", "The value of one setting.");
  get->add_option("KEY", *key, "The setting's key.")->required();
  get->callback([key, &choice] {
    choice.action = [key](Session& session, OutputForm form, const Reply& reply) {
      session.services().settings.synchronize();
      auto found = session.services().settings.valueOf(*key);
      if (!found) return reply(forward(found));
      reply(form == OutputForm::json ? found->json : found->text);
    };
  });

  auto* set = app.add_subcommand("set", "Change one setting.");
  set->add_option("KEY", *key, "The setting's key.")->required();
  set->add_option("VALUE", *value,
                  "true or false, a number, one of the setting's words, or JSON for a list; -- goes before a "
                  "value that "
                  "begins with a dash and a letter.")
      ->required();
  set->callback([key, value, &choice] {
    choice.action = [key, value](Session& session, OutputForm, const Reply& reply) {
      session.services().settings.synchronize();
      if (auto done = session.services().settings.setValue(*key, *value); !done) return reply(forward(done));
      reply(std::string());
    };
  });
}

}  // namespace quillbox::cli
