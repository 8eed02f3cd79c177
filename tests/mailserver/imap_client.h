// As much of an IMAP client (RFC 3501) as the tests need, over a loopback socket.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace quillbox::mailclient {

struct ImapMessage {
  std::string uid;
  std::string flags;  // as the server writes them, sorted, single spaces
  std::string internalDate;
  std::string subject;
};

class ImapClient {
 public:
  // Logs in; isConnected() says whether that went well.
  explicit ImapClient(int port);
  ~ImapClient();
  ImapClient(const ImapClient&) = delete;
  ImapClient& operator=(const ImapClient&) = delete;

  bool isConnected() const { return connected_; }
  // Sends a command and gives the whole answer up to its tagged line; "" when the connection broke or it was
  // refused.
  std::string command(const std::string& text);
  // Delivers a short message with this subject; whether the server took it.
  bool append(const std::string& mailbox, const std::string& subject);
  // The messages of a mailbox (modified UTF-7), by subject.
  std::map<std::string, ImapMessage> fetch(const std::string& mailbox);

 private:
  std::string readLine();

  int socket_ = -1;
  bool connected_ = false;
  int tag_ = 0;
  std::string buffer_;
};

}  // namespace quillbox::mailclient
