// The log of all calls, the failures that a test has planned, and the faults that a client committed.
#pragma once

#include <mapix.h>
#include <windows.h>

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "outputs.h"
#include "recording_mapi.h"

namespace recording {

class Recorder {
 public:
  void reset();

  // Records one call and executes it, unless a planned failure prevents that. A planned answer may then change
  // `outputs`. The double's calls to itself meanwhile are neither recorded nor failed.
  template <class Body>
  HRESULT perform(std::string_view name, std::string object, std::string arguments, Body body,
                  const Outputs& outputs = {}, uint32_t kind = RECORDED_CALL) {
    if (depth_ > 0) return body();
    const std::size_t index = begin(name, std::move(object), std::move(arguments), kind, true);
    interrupt(name);
    const std::optional<HRESULT> planned = plannedResult(name);
    HRESULT result = planned.value_or(S_OK);
    if (!planned || SUCCEEDED(*planned) || (*planned == MAPI_E_BUSY && completesLater(name))) {
      const Inside inside(*this);
      result = body();
      if (planned) result = *planned;
      calls_[index].view.answers = outputs.answers();
      answer(name, outputs, result);
    }
    calls_[index].view.result = result;
    return result;
  }

  // Records a call that cannot fail.
  void note(std::string_view name, std::string object, std::string arguments, uint32_t kind);

  void fault(std::string text) { faults_.push_back(std::move(text)); }
  void plan(const char* name, uint32_t nth, HRESULT result);
  void planNothing() {
    plans_.clear();
    answers_.clear();
  }
  void planAnswer(const char* name, uint32_t nth, Answer answer);
  void planInterruption(const char* name, uint32_t nth, void(WINAPI* function)(void*), void* context);
  uint32_t answersGiven() const { return answersGiven_; }

  uint32_t callCount() const { return static_cast<uint32_t>(calls_.size()); }
  const RecordedCall* call(uint32_t index);
  const std::deque<std::string>& faults() const { return faults_; }

  int initialised = 0;    // MAPIInitialize less MAPIUninitialize
  uint32_t sessions = 0;  // logged on

  // During its lifetime calls are not recorded.
  class Inside {
   public:
    explicit Inside(Recorder& recorder) : recorder_(recorder) { ++recorder_.depth_; }
    ~Inside() { --recorder_.depth_; }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

   private:
    Recorder& recorder_;
  };

 private:
  struct Call {
    std::string name, object, arguments;
    RecordedCall view{};
  };
  // The nth call of a name, or of any.
  struct Choice {
    std::optional<std::string> name;
    uint32_t nth;
    uint32_t seen = 0;

    bool takes(std::string_view called);
  };
  struct Plan {
    Choice choice;
    HRESULT result;
  };
  struct PlannedAnswer {
    Choice choice;
    Answer answer;
  };
  struct Interruption {
    Choice choice;
    void(WINAPI* function)(void*);
    void* context;
  };

  static Choice choose(const char* name, uint32_t nth);
  void interrupt(std::string_view name);
  void answer(std::string_view name, const Outputs& outputs, HRESULT& result);

  std::size_t begin(std::string_view name, std::string object, std::string arguments, uint32_t kind, bool canFail);
  std::optional<HRESULT> plannedResult(std::string_view name);
  static bool completesLater(std::string_view name);

  std::deque<Call> calls_;
  std::deque<std::string> faults_;
  std::vector<Plan> plans_;
  std::vector<PlannedAnswer> answers_;
  std::optional<Interruption> interruption_;
  uint32_t answersGiven_ = 0;
  int depth_ = 0;
};

Recorder& recorder();

}  // namespace recording
