// A post that is killed repeatedly and repeated until it is done makes exactly one message per file.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "fendrel_run.h"
#include "started_program.h"

namespace fendrel::test {
namespace {

constexpr int files = 400;
constexpr int kills = 50;

class RepeatedKill : public FendrelTest {
 protected:
  void SetUp() override {
    addJane();
    std::mt19937 random(7);
    for (int number = 0; number < files; ++number) {
      // Some are small, and some have a content file of their own.
      std::string content = "file " + std::to_string(number) + "\n";
      content.resize(content.size() + (number % 5 == 0 ? 300'000u : 500u), static_cast<char>('a' + random() % 26));
      newFile(name(number), content);
      sizes[utf8(name(number))] = content.size();
    }
  }
  static std::wstring name(int number) { return L"report" + std::to_wstring(number) + L".csv"; }

  std::map<std::string, std::size_t> sizes;
};

TEST_F(RepeatedKill, FiftyKillsLeaveOneMessageAFile) {
  const std::vector<std::string> command = {"post", "--to", daily, "--create", "--skip-existing", "report*.csv"};
  std::mt19937 random(11);
  int inTheMiddle = 0;
  for (int round = 0; round < kills; ++round) {
    StartedProgram program(command, folder.path());
    if (program.endsWithin(150 + random() % 700)) continue;
    program.kill();
    ++inTheMiddle;
  }
  // Kills that come too late would prove nothing.
  EXPECT_GE(inTheMiddle, kills / 2);
  std::size_t before = 0;
  if (const Outcome list = fendrel({"list", daily, "--brief", "--json"}); list.exitCode == 0)
    before = list.json()["messages"].size();
  std::printf("%d of %d runs were killed; %zu of %d messages were there before the last run\n", inTheMiddle, kills,
              before, files);
  EXPECT_GT(before, 0u);
  const Outcome last = fendrel(command);
  EXPECT_EQ(last.exitCode, 0) << last.err;
  std::map<std::string, int> found;
  const nlohmann::json listed = fendrel({"list", daily, "--json"}).json();
  for (const auto& message : listed["messages"]) {
    const std::string subject = message["subject"];
    ++found[subject];
    EXPECT_EQ(message["attachments"][0]["size"], sizes[subject]) << subject;
  }
  EXPECT_EQ(found.size(), static_cast<std::size_t>(files));
  for (const auto& [subject, count] : found) EXPECT_EQ(count, 1) << subject;
  const Outcome check = fendrel({"store", "check"});
  EXPECT_EQ(check.exitCode, 0) << check.out << check.err;
}

}  // namespace
}  // namespace fendrel::test
