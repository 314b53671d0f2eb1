#include "deliver.h"

namespace fendrel::jmap {

std::string deliver(MailAccount& account, const NewMessage& message, int attempts) {
  if (message.mayBeThere) {
    const std::vector<std::string> there = account.findByMessageId(message.mailbox, message.messageId);
    if (!there.empty()) return there.front();
  }
  std::string blob = account.server().upload(account.id(), message.content);
  std::chrono::milliseconds pause{250};
  for (int attempt = 1;; ++attempt, pause *= 2) {
    try {
      return account.import({blob, message.mailbox, message.keywords, message.receivedAt}).id;
    } catch (const ServerFailure& failure) {
      if (attempt == attempts) throw;
      // A server keeps an upload for a limited time only, and loses it if it restarts.
      if (attempt > 1 && failure.kind == FailureKind::notFound)
        blob = account.server().upload(account.id(), message.content);
      else if (failure.kind != FailureKind::lost)
        throw;
    }
    account.server().wait(pause);
    // The lost import may have succeeded. Some servers would import the same bytes twice, so look first.
    const std::vector<std::string> there = account.findByMessageId(message.mailbox, message.messageId);
    if (!there.empty()) return there.front();
  }
}

}  // namespace fendrel::jmap
