// Uses the plug-in's dialogs from within their own thread, while a call shows them.
#pragma once

#include <windows.h>

#include <map>
#include <string>

namespace fendrel::test {

// While it lives, every dialog of this thread is used as a person might: the tree is opened as far as it goes and its last
// node chosen, a report gets a name, boxes are closed. A dialog that stays open all the same is cancelled. One at a time.
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
