// Certificate issuers that are trusted in addition to the machine's.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>

#include "server_failure.h"

namespace fendrel::jmap {

// They are in a memory store that only this object's chain engine uses: the certificate stores of the machine and the
// user do not change, and no other connection of the process trusts them.
class TlsIssuers {
 public:
  // A file with any number of certificates in PEM, or one in DER. Throws badAddress if it is unreadable or has none.
  explicit TlsIssuers(const std::wstring& file);
  TlsIssuers() = default;  // only the machine's

  // nullopt if the certificate is for this host and its chain ends at one of these issuers or of the machine's.
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
