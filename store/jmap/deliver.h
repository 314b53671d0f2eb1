// Delivers a new message exactly once.
#pragma once

#include "mail_account.h"

namespace fendrel::jmap {

struct NewMessage {
  // The whole message, with CR LF line ends and without NUL. Its Message-ID must be unique.
  RequestBody content;
  std::string messageId;  // "<left@right>", as in the content
  std::string mailbox;
  std::vector<std::string> keywords;
  std::chrono::sys_seconds receivedAt{};
  // The outcome of an earlier delivery is unknown: look for the message before importing it.
  bool mayBeThere = false;
};

// Uploads the message and imports it. Returns its id once the server has confirmed the import. If the answer is lost,
// imports the same bytes again, `attempts` times in all. It is success if the server has these bytes already, or if the
// mailbox holds the Message-ID.
//
// Throws ServerFailure. After `lost`, `timedOut` or `cancelled` the message may have arrived. The same NewMessage can
// be delivered again at any time with mayBeThere; the mailbox then holds it once.
std::string deliver(MailAccount& account, const NewMessage& message, int attempts = 4);

}  // namespace fendrel::jmap
