#include "imap_client.h"

#include <algorithm>
#include <regex>
#include <set>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/text.h"

namespace quillbox::mailclient {

ImapClient::ImapClient(int port) {
  socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return;
  const timeval patience{30, 0};
  setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  connected_ = readLine().starts_with("* OK") && !command("LOGIN user password").empty();
}

ImapClient::~ImapClient() {
  if (socket_ >= 0) close(socket_);
}

std::string ImapClient::readLine() {
  while (true) {
    if (const auto end = buffer_.find("\r\n"); end != std::string::npos) {
      auto line = buffer_.substr(0, end);
      buffer_.erase(0, end + 2);
      return line;
    }
    char bytes[4096];
    const auto got = recv(socket_, bytes, sizeof bytes, 0);
    if (got <= 0) return "";
    buffer_.append(bytes, static_cast<std::size_t>(got));
  }
}

std::string ImapClient::command(const std::string& text) {
  const auto tag = "t" + std::to_string(++tag_);
  const auto line = tag + " " + text + "\r\n";
  if (send(socket_, line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size())) return "";
  std::string answer;
  while (true) {
    const auto next = readLine();
    if (next.empty() && buffer_.empty() && answer.size() > 1 && answer.ends_with("\n\n\n")) return "";
    answer += next + "\n";
    if (next.starts_with(tag + " ")) return next.starts_with(tag + " OK") ? answer : "";
    if (answer.size() > (64U << 20)) return "";
  }
}

bool ImapClient::append(const std::string& mailbox, const std::string& subject) {
  const auto message =
      "From: Ada <ada@example.org>\r\nSubject: " + subject + "\r\n\r\nDelivered meanwhile.\r\n";
  return !command("APPEND \"" + mailbox + "\" {" + std::to_string(message.size()) + "+}\r\n" + message)
              .empty();
}

std::map<std::string, ImapMessage> ImapClient::fetch(const std::string& mailbox) {
  std::map<std::string, ImapMessage> found;
  if (command("SELECT \"" + mailbox + "\"").empty()) return found;
  const auto answer = command("UID FETCH 1:* (UID FLAGS INTERNALDATE BODY.PEEK[HEADER.FIELDS (SUBJECT)])");
  static const std::regex one(
      "\\* \\d+ FETCH \\(UID (\\d+) FLAGS \\(([^)]*)\\) INTERNALDATE \"([^\"]*)\"[^\\n]*\\nSubject: "
      "([^\\n]*)");
  for (std::sregex_iterator match(answer.begin(), answer.end(), one), end; match != end; ++match) {
    auto words = text::splitNonEmpty((*match)[2].str(), ' ');
    std::ranges::sort(words);
    std::string flags;
    for (const auto& word : words) {
      if (word != "\\Recent") flags += (flags.empty() ? "" : " ") + word;
    }
    found[(*match)[4].str()] = {(*match)[1], flags, (*match)[3], (*match)[4]};
  }
  return found;
}

}  // namespace quillbox::mailclient
