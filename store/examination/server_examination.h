// A look at the mail server of a profile, in the order in which posting needs things, for people.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "status_failure.h"

namespace fendrel::store {

// Asks a handful of requests in all and changes nothing. Each look answers what it found, in words without a full stop,
// or throws StatusFailure; those after that would say no more.
class ServerExamination {
 public:
  // Null for a profile whose messages are in the local store. `password`: in place of the kept one; may be empty.
  // `isCancelled`: asked while the server is waited for. Throws StatusFailure.
  static std::unique_ptr<ServerExamination> of(const std::wstring& profile, const std::wstring& password,
                                               std::function<bool()> isCancelled);
  ~ServerExamination();

  std::string lookAtName();
  std::string lookAtConnection();
  std::string lookAtCertificate();
  std::string lookAtSession();
  std::string lookAtCapabilities();
  std::string lookAtAccounts();

  struct Quota {
    std::uint64_t used = 0, limit = 0;  // bytes
  };
  // Of the account that is shown as the message store of that name, or of the default one (empty); of several limits
  // the one with the least room. Nothing where the server tells none.
  std::optional<Quota> quotaOf(const std::wstring& store);
  // In bytes; 0: the server does not say.
  std::uint64_t largestUpload();

 private:
  class Parts;
  explicit ServerExamination(std::unique_ptr<Parts> parts);
  std::unique_ptr<Parts> parts_;
};

}  // namespace fendrel::store
