// Small messages for the tests.
#pragma once

#include <string>

#include "deliver.h"

namespace fendrel::test {

// A message of about `size` bytes, by default with a unique identifier.
struct SampleMail {
  explicit SampleMail(const std::string& subject, std::size_t size = 0, const std::string& messageId = newMessageId());

  static std::string newMessageId();

  std::string messageId;
  std::string text;

  jmap::RequestBody body() const;
  // The sample must outlive it.
  jmap::NewMessage forMailbox(const std::string& mailbox) const;
};

}  // namespace fendrel::test
