// Starting programs and the save-file dialog through the character-set layer (see charset.h).
#pragma once

#include <windows.h>

#include <commdlg.h>
#include <shellapi.h>

#include "charset_mode.h"

namespace fendrel::charset {

// Sets hInstApp and hProcess like the wide function. Texts that the mask does not select are not read.
BOOL shellExecuteEx(SHELLEXECUTEINFOW* info) noexcept;

// The chosen path, its title and the custom filter's pattern are returned in the caller's buffers; a path that does not
// fit lpstrFile gives FALSE. A custom filter without both terminators is refused.
BOOL getSaveFileName(OPENFILENAMEW* dialog) noexcept;

}  // namespace fendrel::charset
