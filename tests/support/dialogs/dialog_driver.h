// Uses the plug-in's dialogs from within their own thread, while a call shows them.
#pragma once

#include <windows.h>

#include <map>
#include <string>

namespace fendrel::test {

// During its lifetime it uses every dialog of this thread like a person: it expands the tree completely and chooses the
// last node, enters a report name, closes boxes. A dialog that stays open is cancelled. One at a time.
class DialogDriver {
 public:
  DialogDriver();
  ~DialogDriver();
  DialogDriver(const DialogDriver&) = delete;
  DialogDriver& operator=(const DialogDriver&) = delete;

 private:
  static void CALLBACK tick(HWND, UINT, UINT_PTR, DWORD);
  void use(HWND dialog);
  void chooseFolder(HWND dialog);

  UINT_PTR timer_;
  std::map<HWND, int> visits_;
  int names_ = 0;
};

}  // namespace fendrel::test
