// A new message, exactly once.
#pragma once

#include "mail_account.h"

namespace fendrel::jmap {

struct NewMessage {
  // The whole message, lines ended by CR LF, without NUL. Its bytes must be its own: a Message-ID that no other has.
  RequestBody content;
  std::string messageId;  // "<left@right>", as it stands in the content
  std::string mailbox;
  std::vector<std::string> keywords;
  std::chrono::sys_seconds receivedAt{};
  // It was delivered before, and nobody knows how that ended: looked for before it is imported.
  bool mayBeThere = false;
};

// Uploads the message and imports it. Returns its id when the server has it for good. An answer that was lost is asked
// for again with the same bytes, `attempts` times in all: that the server has them already, or that the mailbox holds
// the Message-ID, is success.
//
// Throws ServerFailure. Where that is `lost` or `timedOut` the message may have arrived: the same NewMessage can be
// delivered again with mayBeThere, at any time, and is there once.
std::string deliver(MailAccount& account, const NewMessage& message, int attempts = 4);

}  // namespace fendrel::jmap
