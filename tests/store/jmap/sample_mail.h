// Small messages for the tests.
#pragma once

#include <string>

#include "deliver.h"

namespace fendrel::test {

// A message of one line, with an identifier that no other message has.
struct SampleMail {
  explicit SampleMail(const std::string& subject, std::size_t size = 0);

  std::string messageId;  // "<left@right>"
  std::string text;

  jmap::RequestBody body() const;
  // The sample must outlive it.
  jmap::NewMessage forMailbox(const std::string& mailbox) const;
};

}  // namespace fendrel::test
