// How quillboxctl knows its commands.
//
// To add one: write src/cli/commands_NAME.cpp with a function `void defineNAME(CLI::App& app, Choice&
// choice)` that adds options to `app` (help texts for each) and, in app.callback(), sets `choice.action`;
// declare it in cli/commands.h and give it a row in registry.cpp. An action gets the session and the form to
// print, starts its work and calls the reply once. Options live in a shared_ptr that the action captures:
//
//   void defineFlag(CLI::App& app, Choice& choice) {
//     auto options = std::make_shared<FlagOptions>();
//     app.add_option("COLOR", options->colour, "red, orange, …")->required();
//     app.callback([options, &choice] {
//       choice.action = [options](Session& session, OutputForm form, Reply reply) { … };
//     });
//   }
#pragma once

#include <functional>
#include <string>

#include "base/result.h"
#include "cli/output.h"

namespace CLI {
class App;
}

namespace quillbox::cli {

class Session;

// What the command prints, without a line break at the end; in JSON form one document, or one a line. Empty
// prints nothing. Called exactly once, on the main queue, inside the action or later.
using Reply = std::function<void(Result<std::string>)>;

// Main queue.
using Action = std::function<void(Session&, OutputForm, Reply)>;

struct Choice {
  Action action;
  bool isBatch = false;  // reads its commands from standard input instead
};

struct CommandGroup {
  const char* name;
  const char* help;
  void (*define)(CLI::App& app, Choice& choice);
};

}  // namespace quillbox::cli
