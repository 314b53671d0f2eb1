// The one way to the text-bearing system functions: the wide function on systems of the NT family, the ANSI
// function with converted text on Windows 9x. Signatures and results are those of the wide functions; text that
// cannot be converted gives the function's own failure value and last error 8.
//
// The functions stand by topic in charset_window.h, charset_file.h, charset_text.h, charset_registry.h,
// charset_graphics.h and charset_shell.h; this header brings those that most callers need.
//
// Names are the system's in this project's spelling. Those that would be another thing under the system's name have
// their own: getFontObject (GetObject, of fonts alone), openFile and reopenFile (the runtime's fopen and freopen, beside
// createFile), getCurrentDirectory (its _wgetdcwd, of a drive), setWindowLong and getWindowLong (pointer-sized).
//
// Threads: no state but a flag that is set before any other code runs.
#pragma once

#include "charset_file.h"
#include "charset_mode.h"
#include "charset_text.h"
