// wine_idle [READY]: writes the file READY and then does nothing for two hours at most. By then Wine's services run, and so
// does the desktop's own process: without a program that has a desktop, every test that shows a cursor or a dialog would
// wait more than a second for a new one.
#include <windows.h>

#include <fstream>

int main(int count, char** arguments) {
  GetDesktopWindow();
  if (count > 1 && !(std::ofstream(arguments[1]) << "ready\n").flush()) {
    return 1;
  }
  Sleep(2 * 60 * 60 * 1000);
}
