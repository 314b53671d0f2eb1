#include "basic_rules.h"

#include <gtest/gtest.h>

#include <map>

namespace fendrel::test {
namespace {

std::string thisTest() {
  const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
  return test ? std::string(test->test_suite_name()) + "." + test->name() : "no test";
}

void report(const std::string& rule, const std::string& how) {
  static std::map<std::string, std::string> firstBroken;
  const std::string& first = firstBroken.emplace(rule, thisTest()).first->second;
  if (first == thisTest()) {
    ADD_FAILURE() << "A basic rule is broken: " << rule << "\n" << how;
  } else {
    ADD_FAILURE() << "A basic rule is broken, first in " << first << ": " << rule;
  }
}

// The text of a fault without its object.
std::string ruleOf(const std::string& fault) { return fault.substr(0, std::min(fault.find(" on "), fault.find(": "))); }

}  // namespace

void expectBasicRules(const RecordingMapi& mapi, int32_t unmatched) {
  // First the faults, then what they left.
  for (const std::string& fault : mapi.faults()) report(ruleOf(fault), fault);
  const RecordingCounts counts = mapi.counts();
  if (counts.sessions != 0) report("every session is logged off", std::to_string(counts.sessions) + " are not");
  if (counts.initialised != unmatched)
    report("MAPIInitialize and MAPIUninitialize match", std::to_string(counts.initialised - unmatched) + " too many");
  if (counts.interfaces != 0) report("every interface is released", mapi.liveObjects());
  if (counts.buffers + counts.chainedBuffers != 0) report("every block is freed", mapi.liveObjects());
}

}  // namespace fendrel::test
