// Checks the mail server of a profile, in the order in which posting needs things.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "status_failure.h"

namespace fendrel::store {

// Makes only a few requests and changes nothing. Each check returns its finding, as text without full stop, or throws
// StatusFailure; do not run further checks then.
class ServerExamination {
 public:
  // Null for a profile of the local store. `password`: replaces the kept one; may be empty. `isCancelled`: polled while
  // waiting for the server. Throws StatusFailure.
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
  // Of the account that is shown as the message store of that name, or as the default one (empty); among several limits
  // the one with the least room. Nothing if the server reports none.
  std::optional<Quota> quotaOf(const std::wstring& store);
  // In bytes; 0: the server does not say.
  std::uint64_t largestUpload();

 private:
  class Parts;
  explicit ServerExamination(std::unique_ptr<Parts> parts);
  std::unique_ptr<Parts> parts_;
};

}  // namespace fendrel::store
