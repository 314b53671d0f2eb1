// fendrel.exe with a profile on the tests' mail server. Its users: alice; bob, who may only read the shared account's
// folder Reports; carol, whose quota is 64 KiB.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "fendrel_run.h"
#include "mail_fixture.h"

namespace fendrel::test {

class ServerTest : public FendrelTest {
 protected:
  static constexpr const char* shared = "Public Folders@Reports";

  static std::string url() { return "http://localhost:" + mailVariable("FENDREL_MAIL_HTTP"); }
  static std::string secureUrl(const std::string& host = "localhost") {
    return "https://" + host + ":" + mailVariable("FENDREL_MAIL_HTTPS");
  }

  Outcome add(const std::string& user, const std::string& password, const std::string& server = url(),
              const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words = {"profile",
                                      "add",
                                      user,
                                      "--server",
                                      server,
                                      "--user",
                                      user,
                                      "--password-file",
                                      secret(password, L"of-" + std::wstring(user.begin(), user.end()))};
    if (user != "carol" && more.empty()) words.insert(words.end(), {"--public", "public"});
    words.insert(words.end(), more.begin(), more.end());
    return fendrel(words);
  }
  // With the right password. The shared account is public unless there is `more`.
  void addProfile(const std::string& user, const std::string& server = url(),
                  const std::vector<std::string>& more = {}) const {
    const Outcome added = add(user, mailVariable("FENDREL_MAIL_PASSWORD"), server, more);
    ASSERT_EQ(added.exitCode, 0) << added.err;
  }

  // The test's own folder, below the shared one.
  static std::string ownFolder() {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    return std::string(shared) + "@" + test.name();
  }
  nlohmann::json messagesIn(const std::string& path) const {
    const Outcome listed = fendrel({"list", path, "--json"});
    EXPECT_EQ(listed.exitCode, 0) << listed.err;
    return listed.json()["messages"];
  }
};

}  // namespace fendrel::test
