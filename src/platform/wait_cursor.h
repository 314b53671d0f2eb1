// The hourglass over a long operation.
#pragma once

#include <windows.h>

namespace fendrel {

// Shows the system's wait cursor while it lives and then puts back the cursor that was current before.
class WaitCursor {
 public:
  WaitCursor() noexcept : before_(SetCursor(standard())) {}
  ~WaitCursor() { SetCursor(before_); }
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;

 private:
  // Loaded once: the system's own cursors are shared and stay, and each loading asks Windows for the user's settings.
  static HCURSOR standard() noexcept {
    static const HCURSOR cursor = LoadCursor(nullptr, IDC_WAIT);
    return cursor;
  }

  HCURSOR before_;
};

}  // namespace fendrel
