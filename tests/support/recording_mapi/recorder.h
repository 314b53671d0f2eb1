// The log of all calls, the failures that a test has planned, and the faults that a client committed.
#pragma once

#include <mapix.h>
#include <windows.h>

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "recording_mapi.h"

namespace recording {

class Recorder {
 public:
  void reset();

  // Records one call and carries it out, unless a planned failure keeps it from that. Calls that the double makes
  // to itself while it carries one out are neither recorded nor failed.
  template <class Body>
  HRESULT perform(std::string_view name, std::string object, std::string arguments, Body body,
                  uint32_t kind = RECORDED_CALL) {
    if (depth_ > 0) return body();
    const std::size_t index = begin(name, std::move(object), std::move(arguments), kind, true);
    const std::optional<HRESULT> planned = plannedResult(name);
    HRESULT result = planned.value_or(S_OK);
    if (!planned || SUCCEEDED(*planned) || (*planned == MAPI_E_BUSY && completesLater(name))) {
      const Inside inside(*this);
      result = body();
      if (planned) result = *planned;
    }
    calls_[index].view.result = result;
    return result;
  }

  // Records a call that cannot fail.
  void note(std::string_view name, std::string object, std::string arguments, uint32_t kind);

  void fault(std::string text) { faults_.push_back(std::move(text)); }
  void plan(const char* name, uint32_t nth, HRESULT result);
  void planNothing() { plans_.clear(); }

  uint32_t callCount() const { return static_cast<uint32_t>(calls_.size()); }
  const RecordedCall* call(uint32_t index);
  const std::deque<std::string>& faults() const { return faults_; }

  int initialised = 0;    // MAPIInitialize less MAPIUninitialize
  uint32_t sessions = 0;  // logged on

  // While one lives, calls are not recorded.
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
  struct Plan {
    std::optional<std::string> name;
    uint32_t nth;
    HRESULT result;
    uint32_t seen = 0;
  };

  std::size_t begin(std::string_view name, std::string object, std::string arguments, uint32_t kind, bool canFail);
  std::optional<HRESULT> plannedResult(std::string_view name);
  static bool completesLater(std::string_view name);

  std::deque<Call> calls_;
  std::deque<std::string> faults_;
  std::vector<Plan> plans_;
  int depth_ = 0;
};

Recorder& recorder();

}  // namespace recording
