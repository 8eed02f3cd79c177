// Which accounts the mail client has.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "automation/applescript_helper.h"
#include "automation/quillbox_error.h"
#include "base/observable.h"
#include "model/account.h"

namespace quillbox {

// Main queue only. Every query first checks that the mail client runs (mailNotRunning otherwise), then asks
// it by a script on a background queue; its completion is called once, on the main queue.
class AccountManager {
 public:
  template <class T>
  using Completion = std::function<void(QuillboxResult<T>)>;

  AccountManager(AppleScriptHelper& helper, Dispatch& dispatch, Log& log);

  // The accounts last fetched by refresh(); empty before.
  const Observable<std::vector<Account>>& accounts() const { return accounts_; }
  Observable<std::vector<Account>>& accounts() { return accounts_; }

  // The enabled accounts and, at the end, the pseudo-account "On My Mac". Empty when the mail client answers
  // nothing. A script failure is error -3404, "Could not get accounts".
  void getAccounts(Completion<std::vector<Account>> completion);
  // getAccounts(), and publishes the answer as accounts().
  void refresh(Completion<std::vector<Account>> completion);
  // All accounts' names, disabled ones included, and "On My Mac" at the end. A failure is error -3404, "Could
  // not get names of accounts".
  void getAccountNames(Completion<std::vector<std::string>> completion);
  // Whether a server name contains "gmail.com"; false when the script fails.
  void anyGmailAccounts(Completion<bool> completion);

 private:
  // Completes with the readiness error, later; true when there was one.
  template <class T>
  bool refuse(const Completion<T>& completion);

  AppleScriptHelper& helper_;
  Dispatch& dispatch_;
  Log& log_;
  Observable<std::vector<Account>> accounts_;
};

// The answer of script_texts::accounts() as accounts. An item that is no list is left out; a missing part of
// one reads as the empty text.
std::vector<Account> accountsFromReply(const Descriptor& reply);

}  // namespace quillbox
