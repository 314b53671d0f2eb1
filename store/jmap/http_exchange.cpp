#include "http_exchange.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <optional>

#include "wide_text.h"

namespace fendrel::jmap {
namespace {

constexpr DWORD turn = 100;       // milliseconds; how soon a cancellation is noticed
constexpr DWORD farewell = 1000;  // how long to wait for WinHTTP to release a request
constexpr DWORD socketTimedOut = 10060, socketReset = 10054;

struct CloseEvent {
  void operator()(HANDLE event) const noexcept { ::CloseHandle(event); }
};
using Event = std::unique_ptr<void, CloseEvent>;

Event newEvent() {
  Event event(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  if (!event) throw std::bad_alloc();
  return event;
}

void setNumber(HINTERNET handle, DWORD option, DWORD value) { WinHttpSetOption(handle, option, &value, sizeof value); }

// Distinguishes a certificate for another name from a chain that the system does not trust.
FailureKind kindOfSecureFailure(DWORD flags) {
  if (flags & WINHTTP_CALLBACK_STATUS_FLAG_CERT_CN_INVALID) return FailureKind::wrongName;
  constexpr DWORD chain = WINHTTP_CALLBACK_STATUS_FLAG_CERT_REV_FAILED | WINHTTP_CALLBACK_STATUS_FLAG_INVALID_CERT |
                          WINHTTP_CALLBACK_STATUS_FLAG_CERT_REVOKED | WINHTTP_CALLBACK_STATUS_FLAG_INVALID_CA |
                          WINHTTP_CALLBACK_STATUS_FLAG_CERT_DATE_INVALID |
                          WINHTTP_CALLBACK_STATUS_FLAG_CERT_WRONG_USAGE;
  return flags & chain ? FailureKind::untrusted : FailureKind::tls;
}

FailureKind kindOf(DWORD error) {
  switch (error) {
    case ERROR_WINHTTP_NAME_NOT_RESOLVED: return FailureKind::unknownName;
    case ERROR_WINHTTP_CANNOT_CONNECT: return FailureKind::refused;
    case ERROR_WINHTTP_TIMEOUT:
    case socketTimedOut: return FailureKind::timedOut;
    case ERROR_WINHTTP_SECURE_CERT_CN_INVALID: return FailureKind::wrongName;
    case ERROR_WINHTTP_SECURE_CERT_DATE_INVALID:
    case ERROR_WINHTTP_SECURE_CERT_REV_FAILED:
    case ERROR_WINHTTP_SECURE_CERT_REVOKED:
    case ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE:
    case ERROR_WINHTTP_SECURE_INVALID_CA:
    case ERROR_WINHTTP_SECURE_INVALID_CERT: return FailureKind::untrusted;
    case ERROR_WINHTTP_SECURE_CHANNEL_ERROR:
    case ERROR_WINHTTP_SECURE_FAILURE: return FailureKind::tls;
    default: return FailureKind::lost;
  }
}

std::string wordsOf(FailureKind kind, const std::string& server, DWORD error) {
  switch (kind) {
    case FailureKind::cancelled: return "What was asked of " + server + " was cancelled.";
    case FailureKind::unknownName: return "No machine has the name of " + server + ". Check the name and the network.";
    case FailureKind::refused: return "Nobody answers at " + server + ". Is the server running, and the port right?";
    case FailureKind::timedOut: return server + " did not answer in time. Try again later.";
    case FailureKind::untrusted:
      return "The certificate of " + server +
             " is not trusted: unknown issuer, or out of date. Name its issuer's "
             "certificate (--tls-ca FILE) if it is right.";
    case FailureKind::wrongName:
      return "The certificate of " + server + " is another machine's. Use the name that stands in it.";
    case FailureKind::tls:
      return "No secure connection to " + server + " (error " + std::to_string(error) +
             "): its certificate is not "
             "trusted, or TLS is not set up there. An issuer can be named with --tls-ca FILE.";
    default: return "The connection to " + server + " was lost (error " + std::to_string(error) + ").";
  }
}

bool isWine() noexcept {
  const HMODULE system = GetModuleHandleW(L"ntdll.dll");
  return system && GetProcAddress(system, "wine_get_version");
}

}  // namespace

ServerFailure connectionFailure(FailureKind kind, const std::string& server, DWORD error) {
  const bool passes = kind == FailureKind::unknownName || kind == FailureKind::refused ||
                      kind == FailureKind::timedOut || kind == FailureKind::lost;
  return {kind, wordsOf(kind, server, error), passes};
}

// What the callback may touch. Lives until WinHTTP has released the request, which may be after the exchange.
struct HttpExchange::State {
  Event step = newEvent(), closed = newEvent();
  DWORD error = 0;  // of the last completed step
  DWORD count = 0;  // bytes read by it
  std::atomic<DWORD> secureFailure{0};
  std::atomic<bool> isRefused{false};  // by checkServer, during the step
  FailureKind refusal = FailureKind::tls;
  std::shared_ptr<const TlsIssuers> issuers;
  bool isProbe = false;
  std::wstring host;
  std::byte piece[pieceSize];

  void end(DWORD code, DWORD bytes = 0) noexcept {
    error = code;
    count = bytes;
    SetEvent(step.get());
  }

  // Called after the TLS handshake, before anything of the request is sent.
  void checkServer(HINTERNET request) noexcept {
    if (!issuers || isRefused) return;
    PCCERT_CONTEXT certificate = nullptr;
    DWORD size = sizeof certificate;
    std::optional<FailureKind> refused = FailureKind::untrusted;
    if (WinHttpQueryOption(request, WINHTTP_OPTION_SERVER_CERT_CONTEXT, &certificate, &size) && certificate) {
      try {
        refused = issuers->refusal(certificate, host);
      } catch (...) {
        refused = FailureKind::tls;
      }
      CertFreeCertificateContext(certificate);
    }
    if (!refused) return;
    refusal = *refused;
    isRefused = true;
    if (isProbe) return;
    WinHttpCloseHandle(request);  // ends the connection at once
    SetEvent(step.get());
    // Wine would still send the request, with the password, as soon as this returns.
    if (isWine()) Sleep(INFINITE);
  }
};

void CALLBACK HttpExchange::onStatus(HINTERNET handle, DWORD_PTR context, DWORD status, void* information,
                                     DWORD length) {
  auto* holder = reinterpret_cast<std::shared_ptr<State>*>(context);
  if (!holder) return;
  State& state = **holder;
  switch (status) {
    case WINHTTP_CALLBACK_STATUS_SENDING_REQUEST: return state.checkServer(handle);
    case WINHTTP_CALLBACK_STATUS_SECURE_FAILURE:
      if (information) state.secureFailure = *static_cast<const DWORD*>(information);
      return;
    case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
    case WINHTTP_CALLBACK_STATUS_WRITE_COMPLETE:
    case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE: return state.end(0);
    case WINHTTP_CALLBACK_STATUS_READ_COMPLETE: return state.end(0, length);
    case WINHTTP_CALLBACK_STATUS_REQUEST_ERROR:
      return state.end(static_cast<const WINHTTP_ASYNC_RESULT*>(information)->dwError);
    case WINHTTP_CALLBACK_STATUS_HANDLE_CLOSING: {
      const std::shared_ptr<State> last = std::move(*holder);
      delete holder;
      SetEvent(last->closed.get());
      return;
    }
  }
}

HttpExchange::HttpExchange(HINTERNET session, const HttpRequest& request, const Settings& settings,
                           std::shared_ptr<const TlsIssuers> issuers, bool isProbe)
    : settings_(settings), server_(request.address.server()), state_(std::make_shared<State>()) {
  const ServerAddress& address = request.address;
  state_->host = toWide(address.host);
  if (address.isSecure) state_->issuers = std::move(issuers);
  state_->isProbe = isProbe;
  connection_.reset(WinHttpConnect(session, state_->host.c_str(), address.port, 0));
  if (!connection_) fail(GetLastError());
  auto holder = std::make_unique<std::shared_ptr<State>>(state_);
  // A slow server sends 102 (Processing) first, and Wine takes that for the answer. Servers do not send it to a client
  // of HTTP/1.0.
  const wchar_t* version = isWine() ? L"HTTP/1.0" : nullptr;
  request_ = WinHttpOpenRequest(connection_.get(), toWide(request.method).c_str(), toWide(address.path).c_str(),
                                version, WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                WINHTTP_FLAG_ESCAPE_DISABLE | (address.isSecure ? WINHTTP_FLAG_SECURE : 0));
  if (!request_) fail(GetLastError());
  auto* context = holder.get();
  if (!WinHttpSetOption(request_, WINHTTP_OPTION_CONTEXT_VALUE, &context, sizeof context) ||
      WinHttpSetStatusCallback(request_, onStatus, WINHTTP_CALLBACK_FLAG_ALL_NOTIFICATIONS, 0) ==
          WINHTTP_INVALID_STATUS_CALLBACK) {
    const DWORD error = GetLastError();
    WinHttpCloseHandle(request_);
    fail(error);
  }
  context_ = reinterpret_cast<DWORD_PTR>(holder.release());  // HANDLE_CLOSING frees it
  setNumber(request_, WINHTTP_OPTION_DISABLE_FEATURE,
            WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_COOKIES | WINHTTP_DISABLE_AUTHENTICATION |
                WINHTTP_DISABLE_KEEP_ALIVE);
  setNumber(request_, WINHTTP_OPTION_REDIRECT_POLICY, WINHTTP_OPTION_REDIRECT_POLICY_NEVER);
  // checkServer checks the issuer.
  if (state_->issuers) setNumber(request_, WINHTTP_OPTION_SECURITY_FLAGS, SECURITY_FLAG_IGNORE_UNKNOWN_CA);
  if (isProbe)
    setNumber(request_, WINHTTP_OPTION_SECURITY_FLAGS,
              SECURITY_FLAG_IGNORE_UNKNOWN_CA | SECURITY_FLAG_IGNORE_CERT_CN_INVALID |
                  SECURITY_FLAG_IGNORE_CERT_DATE_INVALID | SECURITY_FLAG_IGNORE_CERT_WRONG_USAGE);
}

HttpExchange::~HttpExchange() {
  if (!request_) return;
  if (!state_->isRefused || state_->isProbe) WinHttpCloseHandle(request_);
  if (WaitForSingleObject(state_->closed.get(), farewell) == WAIT_OBJECT_0) return;
  // A thread of WinHTTP still waits for the network and will call onStatus: keep this module loaded.
  HMODULE pinned = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                     reinterpret_cast<const wchar_t*>(&HttpExchange::onStatus), &pinned);
}

void HttpExchange::fail(DWORD error) const {
  if (error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_OUTOFMEMORY) throw std::bad_alloc();
  FailureKind kind = kindOf(error);
  if (state_->secureFailure != 0 || error == ERROR_WINHTTP_SECURE_FAILURE)
    kind = kindOfSecureFailure(state_->secureFailure);
  if (state_->isRefused) kind = state_->refusal;
  throw connectionFailure(kind, server_, error);
}

std::optional<FailureKind> HttpExchange::refusal() const {
  return state_->isRefused ? std::optional(state_->refusal) : std::nullopt;
}

// Waits for the end of a started step.
void HttpExchange::begun(BOOL success, std::chrono::milliseconds patience) {
  if (!success && !state_->isRefused) fail(GetLastError());
  const ULONGLONG end = GetTickCount64() + static_cast<ULONGLONG>(patience.count());
  while (WaitForSingleObject(state_->step.get(), turn) != WAIT_OBJECT_0) {
    if (settings_.isCancelled && settings_.isCancelled()) throw connectionFailure(FailureKind::cancelled, server_, 0);
    if (GetTickCount64() > end) fail(ERROR_WINHTTP_TIMEOUT);
  }
  if ((state_->isRefused && !state_->isProbe) || state_->error != 0) fail(state_->error);
}

void HttpExchange::sendHead(const std::wstring& headers, std::uint64_t bodyLength) {
  // WinHTTP counts 32 bits. The length of a longer body is in `headers`.
  const bool isCounted = bodyLength < 0xFFFF'FFFF;
  begun(WinHttpSendRequest(request_, headers.c_str(), static_cast<DWORD>(headers.size()), WINHTTP_NO_REQUEST_DATA, 0,
                           isCounted ? static_cast<DWORD>(bodyLength) : WINHTTP_IGNORE_REQUEST_TOTAL_LENGTH, context_),
        settings_.patience);
}

void HttpExchange::sendPiece(std::span<const std::byte> piece) {
  std::ranges::copy(piece, state_->piece);
  begun(WinHttpWriteData(request_, state_->piece, static_cast<DWORD>(piece.size()), nullptr), settings_.patience);
}

void HttpExchange::receiveHead(std::uint64_t bodyLength) {
  constexpr std::uint64_t bytesInMillisecond = 4096;
  begun(WinHttpReceiveResponse(request_, nullptr),
        settings_.patience + std::chrono::milliseconds(bodyLength / bytesInMillisecond));
}

std::span<const std::byte> HttpExchange::readPiece() {
  begun(WinHttpReadData(request_, state_->piece, pieceSize, nullptr), settings_.patience);
  return std::span(state_->piece).first(state_->count);
}

DWORD HttpExchange::status() const {
  DWORD code = 0, size = sizeof code;
  WinHttpQueryHeaders(request_, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER, WINHTTP_HEADER_NAME_BY_INDEX,
                      &code, &size, WINHTTP_NO_HEADER_INDEX);
  return code;
}

std::wstring HttpExchange::header(DWORD which) const {
  DWORD size = 0;
  WinHttpQueryHeaders(request_, which, WINHTTP_HEADER_NAME_BY_INDEX, nullptr, &size, WINHTTP_NO_HEADER_INDEX);
  std::wstring text(size / sizeof(wchar_t), L'\0');
  if (size == 0 ||
      !WinHttpQueryHeaders(request_, which, WINHTTP_HEADER_NAME_BY_INDEX, text.data(), &size, WINHTTP_NO_HEADER_INDEX))
    return {};
  text.resize(size / sizeof(wchar_t));
  return text;
}

}  // namespace fendrel::jmap
