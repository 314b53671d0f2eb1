#include "tls_issuers.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <vector>

#include "wide_text.h"

namespace fendrel::jmap {
namespace {

constexpr std::size_t longestFile = 4 << 20;

std::vector<BYTE> decodedPem(std::string_view block) {
  DWORD size = 0;
  const auto length = static_cast<DWORD>(block.size());
  if (!CryptStringToBinaryA(block.data(), length, CRYPT_STRING_BASE64HEADER, nullptr, &size, nullptr, nullptr))
    return {};
  std::vector<BYTE> bytes(size);
  CryptStringToBinaryA(block.data(), length, CRYPT_STRING_BASE64HEADER, bytes.data(), &size, nullptr, nullptr);
  return bytes;
}

bool add(HCERTSTORE to, const std::vector<BYTE>& encoded) {
  return CertAddEncodedCertificateToStore(to, X509_ASN_ENCODING, encoded.data(), static_cast<DWORD>(encoded.size()),
                                          CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
}

int addAll(HCERTSTORE to, std::string_view file) {
  constexpr std::string_view begin = "-----BEGIN CERTIFICATE-----", end = "-----END CERTIFICATE-----";
  if (file.find(begin) == std::string_view::npos) return add(to, {file.begin(), file.end()}) ? 1 : 0;
  int added = 0;
  for (std::size_t at = 0; (at = file.find(begin, at)) != std::string_view::npos;) {
    const std::size_t last = file.find(end, at);
    if (last == std::string_view::npos) break;
    const std::size_t length = last + end.size() - at;
    added += add(to, decodedPem(file.substr(at, length)));
    at += length;
  }
  return added;
}

struct FreeChain {
  void operator()(const CERT_CHAIN_CONTEXT* chain) const noexcept { CertFreeCertificateChain(chain); }
};

}  // namespace

TlsIssuers::TlsIssuers(const std::wstring& file)
    : issuers_(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, CERT_STORE_CREATE_NEW_FLAG, nullptr)) {
  std::ifstream stream(std::filesystem::path(file), std::ios::binary);
  std::string bytes;
  if (stream) bytes.assign(std::istreambuf_iterator<char>(stream), {});
  const std::string shown = "The file of issuers '" + toUtf8(file) + "' ";
  if (!stream || bytes.size() > longestFile) throw ServerFailure{FailureKind::badAddress, shown + "cannot be read."};
  if (addAll(issuers_.get(), bytes) == 0)
    throw ServerFailure{FailureKind::badAddress, shown + "holds no certificate (PEM or DER)."};
  CERT_CHAIN_ENGINE_CONFIG settings{};
  settings.cbSize = sizeof settings;
  settings.hExclusiveRoot = issuers_.get();
  HCERTCHAINENGINE engine = nullptr;
  if (!CertCreateCertificateChainEngine(&settings, &engine))
    throw ServerFailure{FailureKind::tls, shown + "cannot be used on this system."};
  engine_.reset(engine);
}

std::optional<FailureKind> TlsIssuers::refusal(PCCERT_CONTEXT certificate, const std::wstring& host) const {
  if (engine_) {
    const std::optional<FailureKind> byFile = refusalBy(engine_.get(), certificate, host);
    if (byFile != FailureKind::untrusted) return byFile;
  }
  return refusalBy(nullptr, certificate, host);
}

std::optional<FailureKind> TlsIssuers::refusalBy(HCERTCHAINENGINE engine, PCCERT_CONTEXT certificate,
                                                 const std::wstring& host) const {
  char serverAuthentication[] = szOID_PKIX_KP_SERVER_AUTH;
  LPSTR usages[] = {serverAuthentication};
  CERT_CHAIN_PARA wanted{};
  wanted.cbSize = sizeof wanted;
  wanted.RequestedUsage.dwType = USAGE_MATCH_TYPE_OR;
  wanted.RequestedUsage.Usage = {1, usages};
  PCCERT_CHAIN_CONTEXT built = nullptr;
  if (!CertGetCertificateChain(engine, certificate, nullptr, certificate->hCertStore, &wanted, 0, nullptr, &built))
    return FailureKind::untrusted;
  const std::unique_ptr<const CERT_CHAIN_CONTEXT, FreeChain> chain(built);

  SSL_EXTRA_CERT_CHAIN_POLICY_PARA server{};
  server.cbSize = sizeof server;
  server.dwAuthType = AUTHTYPE_SERVER;
  server.pwszServerName = const_cast<wchar_t*>(host.c_str());
  CERT_CHAIN_POLICY_PARA policy{};
  policy.cbSize = sizeof policy;
  policy.pvExtraPolicyPara = &server;
  CERT_CHAIN_POLICY_STATUS status{};
  status.cbSize = sizeof status;
  if (!CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_SSL, chain.get(), &policy, &status))
    return FailureKind::untrusted;
  if (status.dwError == static_cast<DWORD>(CERT_E_CN_NO_MATCH)) return FailureKind::wrongName;
  if (status.dwError != 0) return FailureKind::untrusted;
  return std::nullopt;
}

}  // namespace fendrel::jmap
