// Misbehaving mail systems: every call of every scenario gives each wrong answer, alone and in random mixtures. No
// crash, a code that the header names, nothing left. A failure names the round, so that it can be run alone.
#include <cstdio>
#include <cstdlib>
#include <random>

#include "scenarios.h"

namespace fendrel::test {
namespace {

// One thing that goes wrong: a planned answer, or a failure.
struct Misbehaviour {
  uint32_t nth;            // call of the scenario
  RecordingAnswer answer;  // RECORDING_ANSWERS: `failure` instead
  int column;
  HRESULT failure;
};

const char* const answerNames[RECORDING_ANSWERS] = {
    "",           "nothing",      "rows without columns", "error values", "other width",
    "other type", "null values",  "bad address",          "long bytes",   "count high",
    "count zero", "other object", "with warning",         "fewer bytes"};

std::string describe(const Misbehaviour& misbehaviour) {
  std::string text = "call " + std::to_string(misbehaviour.nth) + ": ";
  if (misbehaviour.answer == RECORDING_ANSWERS) {
    char code[16];
    std::snprintf(code, sizeof code, "0x%08lX", static_cast<unsigned long>(misbehaviour.failure));
    return text + code;
  }
  text += answerNames[misbehaviour.answer];
  if (misbehaviour.column >= 0) text += " in column " + std::to_string(misbehaviour.column);
  return text;
}

// The running round, for the report of a crash.
std::string running;

LONG CALLBACK nameTheRound(EXCEPTION_POINTERS* exception) {
  const DWORD code = exception->ExceptionRecord->ExceptionCode;
  if (code == EXCEPTION_ACCESS_VIOLATION || code == EXCEPTION_STACK_OVERFLOW || code == EXCEPTION_ILLEGAL_INSTRUCTION) {
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), running.data(), static_cast<DWORD>(running.size()), &written, nullptr);
  }
  return EXCEPTION_CONTINUE_SEARCH;
}

unsigned long variable(const char* name, unsigned long otherwise) {
  const char* const value = std::getenv(name);
  return value ? std::strtoul(value, nullptr, 10) : otherwise;
}

class Sweep : public ::testing::Test {
 protected:
  Sweep() : handler_(AddVectoredExceptionHandler(1, nameTheRound)) {}
  ~Sweep() override { RemoveVectoredExceptionHandler(handler_); }

  // Runs it, with the misbehaviour in every failure's message; returns the number of wrong answers given.
  uint32_t run(const Scenario& scenario, const std::vector<Misbehaviour>& misbehaviours,
               const std::string& round = "") {
    running = round + scenario.name;
    for (const Misbehaviour& misbehaviour : misbehaviours) running += ", " + describe(misbehaviour);
    running += '\n';
    SCOPED_TRACE(running);
    host.run(scenario, [&] {
      for (const Misbehaviour& misbehaviour : misbehaviours)
        if (misbehaviour.answer == RECORDING_ANSWERS)
          mapi.fail(nullptr, misbehaviour.nth, misbehaviour.failure);
        else
          mapi.answer(nullptr, misbehaviour.nth, misbehaviour.answer, misbehaviour.column);
    });
    return mapi.answersGiven();
  }

  // The calls of a scenario in which nothing goes wrong.
  std::vector<Call> callsOf(const Scenario& scenario) {
    run(scenario, {});
    std::vector<Call> calls = mapi.everything();
    std::erase_if(calls, [](const Call& call) { return !call.canFail; });
    return calls;
  }

  RecordingMapi mapi;
  ScenarioHost host{mapi};

 private:
  void* handler_;
};

TEST_F(Sweep, EveryAnswerOfEveryCallAloneIsSurvived) {
  uint32_t runs = 0;
  for (const Scenario& scenario : scenarios) {
    const std::vector<Call> calls = callsOf(scenario);
    uint32_t given = 0;
    for (uint32_t nth = 1; nth <= calls.size() && !HasFailure(); ++nth)
      for (int answer = RECORDING_NOTHING; answer < RECORDING_ANSWERS; ++answer) {
        if ((calls[nth - 1].answers & 1u << answer) == 0) continue;
        const bool ofColumns = calls[nth - 1].name == "IMAPITable::QueryRows" && answer >= RECORDING_ERROR_VALUES &&
                               answer <= RECORDING_COUNT_HIGH;
        for (int column = -1; column < (ofColumns ? 2 : 0); ++column)
          given += run(scenario, {{nth, static_cast<RecordingAnswer>(answer), column, S_OK}});
      }
    std::printf("%s: %zu calls, %u answers\n", scenario.name, calls.size(), given);
    EXPECT_GT(given, calls.size()) << scenario.name;
    runs += given;
  }
  std::printf("%u answers, one at a time\n", runs);
}

TEST_F(Sweep, RandomMixturesAreSurvived) {
  static constexpr HRESULT failures[] = {MAPI_E_CALL_FAILED,
                                         MAPI_E_NOT_ENOUGH_MEMORY,
                                         MAPI_E_NOT_FOUND,
                                         MAPI_E_BUSY,
                                         MAPI_E_NO_ACCESS,
                                         MAPI_E_USER_CANCEL,
                                         E_FAIL};
  const unsigned long rounds = variable("FENDREL_TEST_ROUNDS", 2000);
  const unsigned long seed = variable("FENDREL_TEST_SEED", 1);
  std::vector<std::vector<Call>> calls;
  std::vector<unsigned> weights;
  for (const Scenario& scenario : scenarios) {
    calls.push_back(callsOf(scenario));
    weights.push_back(scenario.weight);
  }
  unsigned long given = 0, round = 0;
  for (; round < rounds && !HasFailure(); ++round) {
    // Each round has a seed of its own.
    std::mt19937 random(static_cast<uint32_t>(seed + round));
    const auto upTo = [&](unsigned largest) { return std::uniform_int_distribution<unsigned>(0, largest)(random); };
    const auto scenario = std::discrete_distribution<std::size_t>(weights.begin(), weights.end())(random);
    std::vector<Misbehaviour> misbehaviours;
    for (unsigned count = 1 + upTo(5); count > 0; --count) {
      // Earlier misbehaviour may have changed the calls; an answer that does not fit changes nothing.
      const unsigned place = upTo(static_cast<unsigned>(calls[scenario].size()) - 1);
      Misbehaviour misbehaviour{.nth = 1 + place, .answer = RECORDING_ANSWERS, .column = static_cast<int>(upTo(4)) - 1};
      misbehaviour.failure = failures[upTo(std::size(failures) - 1)];
      if (upTo(9) != 0) {
        unsigned answer = 0;
        while ((calls[scenario][place].answers & 1u << answer) == 0) answer = 1 + upTo(RECORDING_ANSWERS - 2);
        misbehaviour.answer = static_cast<RecordingAnswer>(answer);
      }
      misbehaviours.push_back(misbehaviour);
    }
    given += run(scenarios[scenario], misbehaviours,
                 "FENDREL_TEST_SEED=" + std::to_string(seed + round) + " FENDREL_TEST_ROUNDS=1: ");
  }
  std::printf("%lu random mixtures from seed %lu, %lu answers\n", round, seed, given);
}

}  // namespace
}  // namespace fendrel::test
