// The hourglass over a long operation.
#pragma once

#include <windows.h>

namespace fendrel {

// Shows the system's wait cursor while it lives and then puts back the cursor that was current before.
class WaitCursor {
 public:
  WaitCursor() noexcept : before_(SetCursor(LoadCursor(nullptr, IDC_WAIT))) {}
  ~WaitCursor() { SetCursor(before_); }
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;

 private:
  HCURSOR before_;
};

}  // namespace fendrel
