// The problems with single properties of one call.
#pragma once

#include <algorithm>
#include <vector>

#include "mapi_interfaces.h"

namespace fendrel::provider {

class Problems {
 public:
  void add(ULONG index, ULONG tag, HRESULT problem) { problems_.push_back({index, tag, problem}); }
  bool empty() const noexcept { return problems_.empty(); }

  void handOut(LPSPropProblemArray* out) const {
    if (!out) return;
    *out = nullptr;
    if (problems_.empty()) return;
    auto array = allocateMapi<SPropProblemArray>(CbNewSPropProblemArray(problems_.size()));
    array->cProblem = static_cast<ULONG>(problems_.size());
    std::ranges::copy(problems_, array->aProblem);
    *out = array.release();
  }

 private:
  std::vector<SPropProblem> problems_;
};

}  // namespace fendrel::provider
