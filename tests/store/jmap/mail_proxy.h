// A proxy between a client and the tests' mail server: counts requests and cuts connections.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "http_client.h"
#include "listener.h"

namespace fendrel::test {

enum class Cut { BeforeTheServer, AfterTheServer, InTheAnswer };

// One cut of a test with parameters; kinds as in MailProxy.
struct LostAnswer {
  const char* kind;
  Cut cut;
  const char* name;  // of the case
};

class MailProxy {
 public:
  // Cuts the connections of the first requests of these kinds, as many as given. A kind is "session", "upload",
  // "download" or a method, "Email/import".
  explicit MailProxy(std::map<std::string, int> kindsToCut = {}, Cut where = Cut::BeforeTheServer)
      : left(std::move(kindsToCut)), cut(where) {}

  std::string url() const { return listener.url() + "/jmap/"; }
  jmap::Settings settings() const;  // of alice
  // From now on the proxy answers requests of that kind itself.
  void answer(const std::string& kind, const std::string& json);
  int cutCount() const;
  // The numbers of requests since the last call: by kind; their sum.
  std::map<std::string, int> takeCounts();
  int takeCount();

 private:
  bool takeCut(const std::string& kind);
  std::optional<std::string> ownAnswer(const std::string& kind) const;
  void serve(ListenerConnection& connection);

  mutable std::mutex mutex;
  std::map<std::string, int> left, counts;
  std::map<std::string, std::string> ownAnswers;
  const Cut cut;
  int cuts = 0;
  Listener listener{[this](ListenerConnection& connection) { serve(connection); }};
};

}  // namespace fendrel::test
