// delivering_child MAILBOX COUNT LOG [careless]: delivers the messages 1 to COUNT into a mailbox of alice. Notes each
// delivered message in a line of LOG; a later run continues after those. A message's identifier depends only on its
// number. careless: identifiers are new in each run, and the first run ends before it notes the fifth message.
#include <cstdio>
#include <exception>
#include <fstream>
#include <set>

#include "mail_fixture.h"
#include "sample_mail.h"

namespace {

using namespace fendrel;

constexpr std::size_t messageSize = 20'000;
constexpr int unnoted = 5;

std::set<int> noted(const char* log) {
  std::set<int> numbers;
  std::ifstream file(log);
  for (int number = 0; file >> number;) numbers.insert(number);
  return numbers;
}

void note(const char* log, int number) { std::ofstream(log, std::ios::app) << number << std::endl; }

}  // namespace

int main(int count, char** words) {
  if (count < 4) return 2;
  const char* log = words[3];
  const bool isCareless = count > 4;
  try {
    jmap::MailServer server(test::mailSettings());
    jmap::MailAccount account(server, "alice");
    const std::string mailbox = account.findMailbox("", words[1]).value_or("");
    const std::set<int> before = noted(log);
    for (int number = 1; number <= std::stoi(words[2]); ++number) {
      if (before.contains(number)) continue;
      const std::string run = isCareless ? std::to_string(before.size()) + '-' : "";
      const test::SampleMail sample(std::to_string(number), messageSize,
                                    "<" + run + std::to_string(number) + "@killed.invalid>");
      jmap::NewMessage message = sample.forMailbox(mailbox);
      message.mayBeThere = true;
      jmap::deliver(account, message);
      if (isCareless && number == unnoted && before.empty()) return 3;
      note(log, number);
    }
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "delivering_child: %s\n", error.what());
  }
  return 1;
}
