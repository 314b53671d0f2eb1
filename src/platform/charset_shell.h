// Starting programs and the save-file dialog through the character-set layer (see charset.h).
#pragma once

#include <windows.h>

#include <commdlg.h>
#include <shellapi.h>

#include "charset_mode.h"

namespace fendrel::charset {

// The results stand in hInstApp and hProcess, as after the wide function. Texts that the mask does not name are not
// read.
BOOL shellExecuteEx(SHELLEXECUTEINFOW* info) noexcept;

// The chosen path, its title and the filter's own pattern come back in the caller's buffers; a path that does not
// fit lpstrFile gives FALSE. A custom filter without its two ends is refused.
BOOL getSaveFileName(OPENFILENAMEW* dialog) noexcept;

}  // namespace fendrel::charset
