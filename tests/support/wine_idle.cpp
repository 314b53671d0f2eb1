// Does nothing for two hours at most.
#include <windows.h>

int main() {
  Sleep(2 * 60 * 60 * 1000);
}
