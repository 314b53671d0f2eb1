#include "mail_server.h"

#include <algorithm>

#include "json_reading.h"
#include "server_words.h"

namespace fendrel::jmap {
namespace {

constexpr std::size_t longestAnswer = 64 << 20;
constexpr int mostRedirects = 5;
constexpr int mostAttempts = 4;
constexpr std::size_t pieceOfWords = 16 * 1024;  // how much of a refusal is read
constexpr int partialContent = 206;

// Thrown by a sink that needs no more.
struct EnoughRead {};

std::string withValue(std::string pattern, const std::string& variable, const std::string& value) {
  const std::string placeholder = '{' + variable + '}';
  if (const std::size_t at = pattern.find(placeholder); at != std::string::npos)
    pattern.replace(at, placeholder.size(), percentEncoded(value));
  return pattern;
}

RequestBody bodyOf(const std::string& text) {
  return {"application/json", text.size(), [&text](const ByteSink& to) { to(std::as_bytes(std::span(text))); }};
}

bool isOk(int status) { return status >= 200 && status < 300; }
bool isRedirect(int status) { return status >= 301 && status <= 308 && status != 304; }

}  // namespace

MailServer::MailServer(Settings settings)
    : client_(std::move(settings)), address_(parseAddress(client_.settings().url)) {}

std::string MailServer::name() const { return address_.server(); }
std::uint64_t MailServer::requestCount() const noexcept { return requests_; }

void MailServer::persist(Repeat repeat, const std::function<void()>& once) {
  const auto end = std::chrono::steady_clock::now() + settings().patience;
  std::chrono::milliseconds pause{250};
  for (int attempt = 1;; ++attempt, pause *= 2) {
    try {
      return once();
    } catch (const ServerFailure& failure) {
      const bool wasNothingDone = failure.kind == FailureKind::busy || failure.kind == FailureKind::refused ||
                                  failure.kind == FailureKind::unknownName;
      if (!failure.passes || !(wasNothingDone || repeat == Repeat::always)) throw;
      const std::chrono::milliseconds wait = failure.retryAfter.count() > 0 ? failure.retryAfter : pause;
      if (attempt == mostAttempts || std::chrono::steady_clock::now() + wait > end) throw;
      client_.wait(wait);
    }
  }
}

MailServer::Answer MailServer::ask(const HttpRequest& request) {
  Answer answer;
  ++requests_;
  answer.head = client_.send(request, [&](const HttpAnswer&, std::span<const std::byte> bytes) {
    if (answer.text.size() + bytes.size() > longestAnswer)
      throw ServerFailure{FailureKind::failed, name() + " answers with more than can be read at once."};
    answer.text.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  });
  return answer;
}

const MailSession& MailServer::session() {
  const std::lock_guard lock(sessionMutex_);
  if (!session_) persist(Repeat::always, [&] { session_ = discover(); });
  return *session_;
}

MailSession MailServer::discover() {
  HttpRequest request;
  request.address = address_;
  if (request.address.path == "/") request.address.path = "/.well-known/jmap";
  for (int hop = 0; hop <= mostRedirects; ++hop) {
    const Answer answer = ask(request);
    if (isRedirect(answer.head.status)) {
      const ServerAddress next = redirectTarget(request.address, answer.head.location);
      if (!next.isSameServer(address_)) throw redirectedFailure(name(), next);
      request.address = next;
      continue;
    }
    if (answer.head.status == 404) break;
    if (!isOk(answer.head.status)) throw statusFailure(name(), answer.head, answer.text);
    const Json document = Json::parse(answer.text, nullptr, false);
    if (std::optional<MailSession> session = readSession(document, request.address)) return std::move(*session);
    break;
  }
  throw noMailFailure(name());
}

Json MailServer::call(const MethodCall& method, Repeat repeat) { return calls({method}, repeat).front(); }

std::vector<Json> MailServer::calls(const std::vector<MethodCall>& methods, Repeat repeat) {
  const MailSession& known = session();
  Json methodCalls = Json::array();
  for (std::size_t place = 0; place < methods.size(); ++place)
    methodCalls.push_back({methods[place].name, methods[place].arguments, std::to_string(place)});
  Json capabilities = Json::array({"urn:ietf:params:jmap:core", "urn:ietf:params:jmap:mail"});
  for (const std::string& capability : known.capabilities)
    if (capability.ends_with("jmap:quota") || capability.ends_with("jmap/quota")) capabilities.push_back(capability);
  const std::string text = Json{{"using", capabilities}, {"methodCalls", methodCalls}}.dump();

  HttpRequest request;
  request.method = "POST";
  request.address = known.apiUrl;
  request.body = bodyOf(text);
  std::vector<Json> results;
  persist(repeat, [&] {
    const Answer answer = ask(request);
    if (!isOk(answer.head.status)) throw statusFailure(name(), answer.head, answer.text);
    const Json document = Json::parse(answer.text, nullptr, false);
    const Json& responses = member(document, "methodResponses");
    if (!responses.is_array()) throw unreadableFailure(name());
    results.assign(methods.size(), Json());
    for (const Json& response : responses) {
      if (!response.is_array() || response.size() != 3 || !response[0].is_string() || !response[2].is_string())
        throw unreadableFailure(name());
      if (response[0] == "error") throw methodFailure(name(), response[1]);
      for (std::size_t place = 0; place < methods.size(); ++place)
        if (response[2] == std::to_string(place) && response[0] == methods[place].name) results[place] = response[1];
    }
    if (!std::ranges::all_of(results, [](const Json& result) { return result.is_object(); }))
      throw unreadableFailure(name());
  });
  return results;
}

std::string MailServer::upload(const std::string& account, const RequestBody& body) {
  const MailSession& known = session();
  if (known.limits.maxSizeUpload > 0 && body.length > known.limits.maxSizeUpload)
    throw tooLargeFailure(name(), body.length, known.limits.maxSizeUpload);
  HttpRequest request;
  request.method = "POST";
  request.address = resolve(known.base, withValue(known.uploadUrl, "accountId", account));
  request.body = body;
  std::string blob;
  persist(Repeat::always, [&] {
    const Answer answer = ask(request);
    // A read-only account has no upload resource.
    if (answer.head.status == 404) throw noAccessFailure(name(), "The account '" + account + "'");
    if (!isOk(answer.head.status)) throw statusFailure(name(), answer.head, answer.text);
    const Json document = Json::parse(answer.text, nullptr, false);
    blob = textOf(document, "blobId");
    if (blob.empty() || numberOf(document, "size") != body.length) throw unreadableFailure(name());
  });
  return blob;
}

void MailServer::download(const std::string& account, const std::string& blob, const ByteSink& to, std::uint64_t begin,
                          std::optional<std::uint64_t> length) {
  const MailSession& known = session();
  std::string url = withValue(known.downloadUrl, "accountId", account);
  url = withValue(std::move(url), "blobId", blob);
  url = withValue(std::move(url), "name", "part");
  url = withValue(std::move(url), "type", "application/octet-stream");
  HttpRequest request;
  request.address = resolve(known.base, url);
  if (length == 0) return;

  // Bytes that `to` has got are not requested again.
  std::string refusal;
  const auto take = [&](const HttpAnswer& head, std::span<const std::byte> bytes) {
    if (!isOk(head.status)) {
      if (refusal.size() < pieceOfWords) refusal.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
      return;
    }
    const std::uint64_t position = (head.status == partialContent ? request.rangeBegin : 0) + head.length;
    if (position + bytes.size() <= begin) return;  // the server ignores the range
    bytes = bytes.subspan(static_cast<std::size_t>(begin - std::min(begin, position)));
    if (length) bytes = bytes.first(static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), *length)));
    to(bytes);
    begin += bytes.size();
    if (length && (*length -= bytes.size()) == 0) throw EnoughRead();
  };
  persist(Repeat::always, [&] {
    request.rangeBegin = begin;
    request.rangeLength = length;
    refusal.clear();
    ++requests_;
    try {
      const HttpAnswer answer = client_.send(request, take);
      if (!isOk(answer.status)) throw statusFailure(name(), answer, refusal);
    } catch (const EnoughRead&) {
    }
  });
}

}  // namespace fendrel::jmap
