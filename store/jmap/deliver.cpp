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
      // A server keeps what was uploaded for a while only, and not beyond its end.
      if (attempt > 1 && failure.kind == FailureKind::notFound)
        blob = account.server().upload(account.id(), message.content);
      else if (failure.kind != FailureKind::lost)
        throw;
    }
    account.server().wait(pause);
    // The first asking may have done it. Some servers would take the same bytes twice, so look before asking again.
    const std::vector<std::string> there = account.findByMessageId(message.mailbox, message.messageId);
    if (!there.empty()) return there.front();
  }
}

}  // namespace fendrel::jmap
