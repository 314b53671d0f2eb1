#include "mail_proxy.h"

#include <numeric>

#include "mail_fixture.h"

namespace fendrel::test {
namespace {

// The kind of a request.
std::string kindOfRequest(const std::string& request) {
  if (request.starts_with("GET")) return request.find("/download/") < 100 ? "download" : "session";
  if (request.find("/upload/") < 100) return "upload";
  for (const char* method : {"Email/import", "Email/query", "Mailbox/set", "Mailbox/get", "Email/set", "Email/changes",
                             "Email/get", "Quota/get"})
    if (request.find(method) != std::string::npos) return method;
  return "?";
}

}  // namespace

jmap::Settings MailProxy::settings() const {
  jmap::Settings result = mailSettings();
  result.url = url();
  return result;
}

void MailProxy::answer(const std::string& kind, const std::string& json) {
  const std::lock_guard lock(mutex);
  ownAnswers[kind] = json;
}

int MailProxy::cutCount() const {
  const std::lock_guard lock(mutex);
  return cuts;
}

std::map<std::string, int> MailProxy::takeCounts() {
  const std::lock_guard lock(mutex);
  return std::exchange(counts, {});
}

int MailProxy::takeCount() {
  const auto taken = takeCounts();
  return std::accumulate(taken.begin(), taken.end(), 0, [](int sum, const auto& one) { return sum + one.second; });
}

bool MailProxy::takeCut(const std::string& kind) {
  const std::lock_guard lock(mutex);
  ++counts[kind];
  const auto found = left.find(kind);
  if (found == left.end() || found->second-- <= 0) return false;
  ++cuts;
  return true;
}

std::optional<std::string> MailProxy::ownAnswer(const std::string& kind) const {
  const std::lock_guard lock(mutex);
  const auto found = ownAnswers.find(kind);
  return found == ownAnswers.end() ? std::nullopt : std::optional(found->second);
}

void MailProxy::serve(ListenerConnection& connection) {
  const std::string request = connection.readRequest();
  if (request.empty()) return;
  const std::string kind = kindOfRequest(request);
  const bool isCut = takeCut(kind);
  if (isCut && cut == Cut::BeforeTheServer) return;
  const std::optional<std::string> own = ownAnswer(kind);
  const std::string whole =
      own ? answerWith(200, "Content-Type: application/json\r\n", *own) : answerOf(mailPort(), request);
  if (isCut && cut == Cut::AfterTheServer) return;
  connection.write(isCut ? whole.substr(0, whole.size() / 2) : whole);
}

}  // namespace fendrel::test
