// Mailbox lists as large organisations have them: a few accounts, folders by client, project, year and
// subject, a seventh of the names outside ASCII.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "model/mailbox.h"

namespace quillbox::bench {

inline std::vector<Mailbox> mailboxTree(std::size_t count) {
  static constexpr std::array accounts{"Work", "Home", "Sales Europe", "Archive 2015-2020", "On My Mac"};
  static constexpr std::array areas{"Clients", "Projects", "Vendors",  "Internal",
                                    "Archive", "Kunden",   "Personal", "Support"};
  static constexpr std::array first{"North",   "Blue",   "Alder",    "Müller", "Stein", "Granite",
                                    "Harbour", "Océan",  "Lumen",    "Quartz", "Inver", "Straße",
                                    "Falcon",  "Zürich", "Meridian", "Oak"};
  static constexpr std::array second{" Logistics", " & Sons",  " GmbH",      " Partners",
                                     " Ltd",       " Énergie", " Insurance", " Bank",
                                     " 株式会社",  " Design",  " Research",  " Foods"};
  static constexpr std::array projects{"Website",   "Migration",  "Audit",         "Invoices",
                                       "Contracts", "Orders",     "Support cases", "Rénovation",
                                       "Training",  "Größenplan", "Office move",   "Planning"};
  static constexpr std::array subjects{"Inbox copies", "Meetings",    "Drafts", "Sent items",
                                       "Reports",      "Legal",       "Offers", "Travel",
                                       "Receipts",     "Newsletters", "To do",  "Résumés"};
  std::uint64_t state = 0x9E3779B97F4A7C15U;
  const auto pick = [&state](std::size_t n) {
    state = state * 6364136223846793005U + 1442695040888963407U;
    return static_cast<std::size_t>((state >> 33U) % n);
  };
  std::vector<Mailbox> list;
  list.reserve(count);
  const auto add = [&](const std::string& account, const std::string& path) {
    if (list.size() < count) list.push_back(Mailbox::make(path.substr(path.rfind('/') + 1), path, account));
  };
  for (std::size_t client = 0; list.size() < count; ++client) {
    const std::string account = accounts[client * accounts.size() / (count / 200 + 1) % accounts.size()];
    const std::string root = std::string(areas[pick(areas.size())]) + "/" + first[pick(first.size())] +
                             second[pick(second.size())] + " " + std::to_string(client);
    add(account, root);
    const std::size_t projectCount = 2 + pick(4);
    for (std::size_t p = 0; p < projectCount; ++p) {
      const std::string project = root + "/" + projects[(client + p * 5) % projects.size()];
      add(account, project);
      for (std::size_t year = 2019; year < 2019 + 1 + pick(7); ++year) {
        const std::string folder = project + "/" + std::to_string(year);
        add(account, folder);
        const std::size_t from = pick(subjects.size());
        for (std::size_t s = 0; s < 4 + pick(6); ++s)
          add(account, folder + "/" + subjects[(from + s) % subjects.size()]);
      }
    }
  }
  return list;
}

}  // namespace quillbox::bench
