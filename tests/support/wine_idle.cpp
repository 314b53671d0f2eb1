// wine_idle [READY]: writes the file READY and then idles for at most two hours. It keeps Wine's services and the
// desktop's process running: without a program on the desktop, every test that shows a cursor or a dialog would wait
// more than a second for a new desktop process.
#include <windows.h>

#include <fstream>

int main(int count, char** arguments) {
  GetDesktopWindow();
  if (count > 1 && !(std::ofstream(arguments[1]) << "ready\n").flush()) {
    return 1;
  }
  Sleep(2 * 60 * 60 * 1000);
}
