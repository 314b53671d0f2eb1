#include "http_client.h"

#include <windows.h>
#include <winhttp.h>

#include <algorithm>
#include <charconv>
#include <vector>

#include "http_exchange.h"
#include "tls_issuers.h"
#include "wide_text.h"

namespace fendrel::jmap {
namespace {

std::string base64Of(std::string_view bytes) {
  DWORD size = 0;
  const auto* data = reinterpret_cast<const BYTE*>(bytes.data());
  const auto length = static_cast<DWORD>(bytes.size());
  CryptBinaryToStringA(data, length, CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF, nullptr, &size);
  std::string text(size, '\0');
  CryptBinaryToStringA(data, length, CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF, text.data(), &size);
  text.resize(size);
  return text;
}

// The Authorization header's value. A token is copied unchanged, so it must not contain a line end.
std::string credentials(const Settings& settings) {
  if (!settings.user.empty()) return "Basic " + base64Of(settings.user + ':' + settings.secret);
  if (!std::ranges::all_of(settings.secret, [](char c) { return c > ' ' && c <= '~'; }))
    throw ServerFailure{FailureKind::unauthorized,
                        "The token for " + settings.url + " has characters that no token has."};
  return "Bearer " + settings.secret;
}

HINTERNET openSession(bool isLocal) {
  constexpr const wchar_t* agent = L"Fendrel";
  // No proxy for a server on this machine.
  if (isLocal) return WinHttpOpen(agent, WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, WINHTTP_FLAG_ASYNC);
  if (HINTERNET session = WinHttpOpen(agent, WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY, nullptr, nullptr, WINHTTP_FLAG_ASYNC))
    return session;
  // Before Windows 8.1.
  return WinHttpOpen(agent, WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, nullptr, nullptr, WINHTTP_FLAG_ASYNC);
}

std::optional<std::chrono::seconds> retryAfterOf(const std::wstring& text) {
  if (text.empty()) return std::nullopt;
  const std::string narrow = toUtf8(text);
  unsigned seconds = 0;
  if (const auto [end, error] = std::from_chars(narrow.data(), narrow.data() + narrow.size(), seconds);
      error == std::errc() && end == narrow.data() + narrow.size())
    return std::chrono::seconds(seconds);
  SYSTEMTIME date{};
  FILETIME then{}, now{};
  if (!text.ends_with(L"GMT")) return std::nullopt;  // the system accepts any text as a date
  if (!WinHttpTimeToSystemTime(text.c_str(), &date) || !SystemTimeToFileTime(&date, &then)) return std::nullopt;
  GetSystemTimeAsFileTime(&now);
  const auto ticks = [](FILETIME time) {
    return static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
  };
  return std::chrono::seconds(std::max<std::int64_t>(0, (ticks(then) - ticks(now)) / 10'000'000));
}

// Sends pieces of one size, whatever the sizes are that the body is written in.
void sendBody(HttpExchange& exchange, const RequestBody& body, const std::string& server) {
  std::vector<std::byte> gathered;
  gathered.reserve(pieceSize);
  std::uint64_t sent = 0;
  body.write([&](std::span<const std::byte> bytes) {
    sent += bytes.size();
    if (sent > body.length) return;  // refused below
    while (!bytes.empty()) {
      const auto part = bytes.first(std::min(bytes.size(), pieceSize - gathered.size()));
      gathered.insert(gathered.end(), part.begin(), part.end());
      bytes = bytes.subspan(part.size());
      if (gathered.size() < pieceSize) continue;
      exchange.sendPiece(gathered);
      gathered.clear();
    }
  });
  if (sent != body.length)
    throw ServerFailure{FailureKind::failed, "What goes to " + server + " has " + std::to_string(sent) + " of " +
                                                 std::to_string(body.length) + " bytes. Nothing was stored."};
  if (!gathered.empty()) exchange.sendPiece(gathered);
}

}  // namespace

class HttpClient::Parts {
 public:
  explicit Parts(Settings given)
      : settings(std::move(given)),
        authorization(credentials(settings)),
        session(openSession(parseAddress(settings.url).isThisMachine())) {
    if (!session) throw ServerFailure{FailureKind::failed, "The system's HTTP service does not start."};
    DWORD protocols = WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2 | tls13;
    if (!WinHttpSetOption(session.get(), WINHTTP_OPTION_SECURE_PROTOCOLS, &protocols, sizeof protocols)) {
      protocols = WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2;  // the system has no TLS 1.3
      WinHttpSetOption(session.get(), WINHTTP_OPTION_SECURE_PROTOCOLS, &protocols, sizeof protocols);
    }
    // These limits end the system's own threads after a request was abandoned.
    const int limit = static_cast<int>(settings.patience.count());
    WinHttpSetTimeouts(session.get(), limit, limit, limit, limit);
    if (!settings.tlsCaFile.empty()) issuers = std::make_shared<TlsIssuers>(settings.tlsCaFile);
  }

  HttpAnswer send(const HttpRequest& request, const AnswerSink& to) const;

  // What is wrong with the certificate. Sends no credentials to find out.
  std::optional<FailureKind> refusalOf(const ServerAddress& address) const;

  std::wstring headersOf(const HttpRequest& request) const {
    // With delayed acknowledgements, keep-alive costs small requests tens of milliseconds.
    std::string headers = "Connection: close\r\n";
    if (request.withCredentials) headers += "Authorization: " + authorization + "\r\n";
    if (request.body) headers += "Content-Type: " + request.body->type + "\r\n";
    if (request.body && request.body->length >= 0xFFFF'FFFF)
      headers += "Content-Length: " + std::to_string(request.body->length) + "\r\n";
    if (request.rangeBegin > 0 || request.rangeLength) {
      headers += "Range: bytes=" + std::to_string(request.rangeBegin) + '-';
      if (request.rangeLength) headers += std::to_string(request.rangeBegin + *request.rangeLength - 1);
      headers += "\r\n";
    }
    return toWide(headers);
  }

  Settings settings;
  std::string authorization;
  struct CloseHandle {
    void operator()(void* handle) const noexcept { WinHttpCloseHandle(handle); }
  };
  std::unique_ptr<void, CloseHandle> session;
  std::shared_ptr<const TlsIssuers> issuers;

 private:
  static constexpr DWORD tls13 = 0x2000;  // not in every header
};

HttpClient::HttpClient(Settings settings) : parts_(std::make_unique<Parts>(std::move(settings))) {}
HttpClient::~HttpClient() = default;

const Settings& HttpClient::settings() const noexcept { return parts_->settings; }

HttpAnswer HttpClient::send(const HttpRequest& request, const AnswerSink& to) {
  try {
    return parts_->send(request, to);
  } catch (const ServerFailure& failure) {
    if (failure.kind != FailureKind::tls) throw;
    // Some systems do not report what is wrong with a certificate.
    if (const std::optional<FailureKind> refused = parts_->refusalOf(request.address))
      throw connectionFailure(*refused, request.address.server(), 0);
    throw;
  }
}

std::optional<FailureKind> HttpClient::Parts::refusalOf(const ServerAddress& address) const {
  HttpRequest request;
  request.method = "HEAD";
  request.address = address;
  request.address.path = "/";
  request.withCredentials = false;
  HttpExchange probe(session.get(), request, settings, issuers ? issuers : std::make_shared<TlsIssuers>(), true);
  try {
    probe.sendHead(headersOf(request), 0);
  } catch (const ServerFailure& failure) {
    if (failure.kind == FailureKind::cancelled) throw;
  }
  return probe.refusal();
}

HttpAnswer HttpClient::Parts::send(const HttpRequest& request, const AnswerSink& to) const {
  HttpExchange exchange(session.get(), request, settings, issuers);
  const std::uint64_t bodyLength = request.body ? request.body->length : 0;
  exchange.sendHead(headersOf(request), bodyLength);
  if (request.body && bodyLength > 0) sendBody(exchange, *request.body, request.address.server());
  exchange.receiveHead(bodyLength);

  HttpAnswer answer;
  answer.status = static_cast<int>(exchange.status());
  const std::string type = toUtf8(exchange.header(WINHTTP_QUERY_CONTENT_TYPE));
  answer.type = type.substr(0, type.find_first_of("; "));
  std::ranges::transform(answer.type, answer.type.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c | 0x20 : c; });
  answer.location = toUtf8(exchange.header(WINHTTP_QUERY_LOCATION));
  answer.retryAfter = retryAfterOf(exchange.header(WINHTTP_QUERY_RETRY_AFTER));
  const std::string promised = toUtf8(exchange.header(WINHTTP_QUERY_CONTENT_LENGTH));
  for (auto piece = exchange.readPiece(); !piece.empty(); piece = exchange.readPiece()) {
    to(answer, piece);
    answer.length += piece.size();
  }
  // The system treats the end of the connection as the end of the answer.
  if (!promised.empty() && promised != std::to_string(answer.length))
    throw ServerFailure{FailureKind::lost,
                        request.address.server() + " ended its answer after " + std::to_string(answer.length) + " of " +
                            promised + " bytes.",
                        true};
  return answer;
}

void HttpClient::wait(std::chrono::milliseconds time) const {
  constexpr DWORD turn = 100;
  const Settings& known = settings();
  for (const ULONGLONG end = GetTickCount64() + static_cast<ULONGLONG>(time.count()); GetTickCount64() < end;) {
    if (known.isCancelled && known.isCancelled())
      throw ServerFailure{FailureKind::cancelled,
                          "Waiting for " + parseAddress(known.url).server() + " was cancelled."};
    Sleep(static_cast<DWORD>(std::min<ULONGLONG>(turn, end - std::min(end, GetTickCount64()))));
  }
}

}  // namespace fendrel::jmap
