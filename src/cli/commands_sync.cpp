// sync-favorites: the favourites and the other machines', now.
#include <CLI/CLI.hpp>

#include "base/error_numbers.h"
#include "cli/commands.h"
#include "cli/mailbox_table.h"
#include "cli/session.h"

namespace quillbox::cli {

void defineSyncFavorites(CLI::App& app, Choice& choice) {
  app.callback([&choice] {
    choice.action = [](Session& session, OutputForm form, const Reply& reply) {
      const auto& services = session.services();
      services.settings.synchronize();
      if (!services.settings.enableFavoritesSync.get()) {
        return reply(fail(error_number::favoritesSyncOff,
                          "Favourites are not synced: the setting enableFavoritesSync is off"));
      }
      services.favorites.synchronize();
      reply(shownMailboxes(services.favorites.mailboxes.get(), form));
    };
  });
}

}  // namespace quillbox::cli
