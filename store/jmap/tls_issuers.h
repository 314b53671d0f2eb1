// Issuers of certificates that are trusted besides the machine's own.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>

#include "server_failure.h"

namespace fendrel::jmap {

// They stand in a store in memory and are looked at by a chain engine of our own: nothing of the machine or the user
// changes, and no other connection of the process trusts them.
class TlsIssuers {
 public:
  // A file with certificates: PEM, any number, or one in DER. Throws badAddress where it cannot be read or holds none.
  explicit TlsIssuers(const std::wstring& file);
  TlsIssuers() = default;  // the machine's alone

  // Nothing where the certificate is this host's and its chain ends at one of these issuers or at one of the machine's.
  std::optional<FailureKind> refusal(PCCERT_CONTEXT certificate, const std::wstring& host) const;

 private:
  struct CloseStore {
    void operator()(void* store) const noexcept { CertCloseStore(store, 0); }
  };
  struct CloseEngine {
    void operator()(void* engine) const noexcept { CertFreeCertificateChainEngine(engine); }
  };

  std::optional<FailureKind> refusalBy(HCERTCHAINENGINE engine, PCCERT_CONTEXT certificate,
                                       const std::wstring& host) const;

  std::unique_ptr<void, CloseStore> issuers_;
  std::unique_ptr<void, CloseEngine> engine_;
};

}  // namespace fendrel::jmap
