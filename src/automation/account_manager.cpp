#include "automation/account_manager.h"

#include "automation/script_texts.h"
#include "base/error_numbers.h"
#include "model/mailbox.h"

namespace quillbox {
namespace {

std::string textOf(const Descriptor* value) {
  return value != nullptr ? value->textValue().value_or("") : std::string();
}

QuillboxError unavailable(const char* message) {
  return QuillboxError::appleScriptError(
      AppleScriptError::executionError(message, error_number::accountsUnavailable));
}

}  // namespace

std::vector<Account> accountsFromReply(const Descriptor& reply) {
  std::vector<Account> accounts;
  if (reply.items().empty()) return accounts;
  for (const auto& item : reply.items()) {
    if (!item.isList()) continue;
    accounts.push_back({textOf(item.item(1)), textOf(item.item(2)), textOf(item.item(3))});
  }
  const std::string local(onMyMac);
  accounts.push_back({local, local, local});
  return accounts;
}

AccountManager::AccountManager(AppleScriptHelper& helper, Dispatch& dispatch, Log& log)
    : helper_(helper), dispatch_(dispatch), log_(log) {}

template <class T>
bool AccountManager::refuse(const Completion<T>& completion) {
  const auto error = helper_.readinessError();
  if (!error) return false;
  dispatch_.main([completion, error = *error] { completion(std::unexpected(error)); });
  return true;
}

void AccountManager::getAccounts(Completion<std::vector<Account>> completion) {
  if (refuse(completion)) return;
  helper_.runScriptText(script_texts::accounts(), "getAccounts",
                        [this, completion = std::move(completion)](const AppleScriptResult& result) {
                          if (result) return completion(accountsFromReply(*result));
                          log_.error("AppleScript Error: " + result.error().description());
                          if (result.error().phase == ScriptPhase::compile) {
                            return completion(std::vector<Account>());
                          }
                          completion(std::unexpected(unavailable("Could not get accounts")));
                        });
}

void AccountManager::refresh(Completion<std::vector<Account>> completion) {
  getAccounts([this, completion = std::move(completion)](QuillboxResult<std::vector<Account>> result) {
    if (result) accounts_.set(*result);
    completion(std::move(result));
  });
}

void AccountManager::getAccountNames(Completion<std::vector<std::string>> completion) {
  if (refuse(completion)) return;
  helper_.runScriptText(
      script_texts::accountNames(), "",
      [this, completion = std::move(completion)](const AppleScriptResult& result) {
        std::vector<std::string> names;
        if (!result) {
          log_.error("AppleScript Error: " + result.error().description());
          if (result.error().phase == ScriptPhase::compile) return completion(std::move(names));
          return completion(std::unexpected(unavailable("Could not get names of accounts")));
        }
        for (const auto& item : result->items()) {
          if (auto name = item.textValue()) names.push_back(std::move(*name));
        }
        completion(std::move(names));
      });
}

void AccountManager::anyGmailAccounts(Completion<bool> completion) {
  if (refuse(completion)) return;
  helper_.runScriptText(script_texts::anyGmailAccounts(), "anyGmailAccounts",
                        [this, completion = std::move(completion)](const AppleScriptResult& result) {
                          if (!result) log_.error("AppleScript Error: " + result.error().description());
                          completion(result && result->booleanValue().value_or(false));
                        });
}

}  // namespace quillbox
