// All calls of text-bearing system functions go through this layer: to the wide function on systems of the NT family,
// to the ANSI function with converted text on Windows 9x. Signatures and results are those of the wide functions; text
// that cannot be converted gives the function's failure value and last error 8.
// The functions are grouped by topic in charset_window.h, charset_file.h, charset_text.h, charset_registry.h,
// charset_graphics.h and charset_shell.h; this header includes those that most callers need.
// Names are the system's in this project's spelling. Functions that differ have their own names: getFontObject
// (GetObject, only for fonts), openFile and reopenFile (the runtime's fopen and freopen, beside createFile),
// getCurrentDirectory (the runtime's _wgetdcwd, of a drive), setWindowLong and getWindowLong (pointer-sized).
// Threads: the only state is a flag that is set before any other code runs.
#pragma once

#include "charset_file.h"
#include "charset_mode.h"
#include "charset_text.h"
