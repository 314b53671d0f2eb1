// The hourglass during a long operation.
#pragma once

#include <windows.h>

namespace fendrel {

// Shows the system's wait cursor during its lifetime, then restores the previous cursor.
class WaitCursor {
 public:
  WaitCursor() noexcept : before_(SetCursor(standard())) {}
  ~WaitCursor() { SetCursor(before_); }
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;

 private:
  // Loaded once: system cursors are shared and permanent, and each load reads the user's settings.
  static HCURSOR standard() noexcept {
    static const HCURSOR cursor = LoadCursor(nullptr, IDC_WAIT);
    return cursor;
  }

  HCURSOR before_;
};

}  // namespace fendrel
