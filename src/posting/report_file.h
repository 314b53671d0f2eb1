// Copies an exported file into an attachment.
#pragma once

#include "mapi_memory.h"

namespace fendrel {

// Streams the file's bytes into the attachment's data and saves the attachment (the result of the save is ignored).
// MAPI_E_INVALID_PARAMETER without attachment, path or copy buffer, MAPI_E_CALL_FAILED for a file that does not open,
// or the code of the failed call.
HRESULT copyFileIntoAttachment(const wchar_t* path, IAttach* attachment) noexcept;

}  // namespace fendrel
