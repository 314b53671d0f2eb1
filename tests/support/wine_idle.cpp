// Does nothing for two hours at most. It has a desktop, so that Wine keeps the desktop's own process too: without one
// every test that shows a cursor or a dialog would wait more than a second for a new one.
#include <windows.h>

int main() {
  GetDesktopWindow();
  Sleep(2 * 60 * 60 * 1000);
}
