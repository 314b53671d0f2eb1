// Maps a MAPI result to the plug-in's code and, where that is only "failed", to the error text. The host uses the table
// in reverse, because an export returns only code and text.
#pragma once

#include <windows.h>

#include <mapicode.h>

#include <cstdint>

#include "english/texts.h"
#include "fendrel/fendrel.h"
#include "resource_ids.h"

namespace fendrel {

// The text is string `stringId` of the resource module, else `text`.
struct KnownFailure {
  HRESULT result;
  std::uint32_t code;
  UINT stringId;        // 0: `text` in every language
  const wchar_t* text;  // null: the error text does not change
};

inline constexpr KnownFailure knownFailures[] = {
    {S_OK, FENDREL_SUCCESS, 0, nullptr},
    {E_ABORT, FENDREL_CANCELLED, 0, nullptr},
    {MAPI_E_USER_CANCEL, FENDREL_CANCELLED, 0, nullptr},
    {MAPI_E_CANCEL, FENDREL_CANCELLED, 0, nullptr},
    {MAPI_E_NOT_ENOUGH_MEMORY, FENDREL_OUT_OF_MEMORY, 0, nullptr},
    {MAPI_E_NOT_ENOUGH_DISK, FENDREL_NOT_ENOUGH_DISK, 0, nullptr},
    {MAPI_E_CALL_FAILED, FENDREL_FAILED, 0, L"MAPI_E_CALL_FAILED"},
    {MAPI_E_CORRUPT_DATA, FENDREL_FAILED, 0, L"MAPI_E_CORRUPT_DATA"},
    {MAPI_E_FAILONEPROVIDER, FENDREL_FAILED, 0, L"MAPI Error: Fail on provider."},
    {MAPI_E_INVALID_PARAMETER, FENDREL_FAILED, 0, L"MAPI_E_INVALID_PARAMETER"},
    {MAPI_E_NO_SUPPORT, FENDREL_FAILED, IDS_NOT_SUPPORTED, L"" TEXT_NOT_SUPPORTED},
    {MAPI_E_NOT_FOUND, FENDREL_FAILED, IDS_NOT_FOUND, L"" TEXT_NOT_FOUND},
    {MAPI_E_NO_ACCESS, FENDREL_FAILED, IDS_NO_RIGHT_TO_POST_FILE, L"" TEXT_NO_RIGHT_TO_POST_FILE},
};

// The text of every other result, which is FENDREL_FAILED. For printing and for scanning an unsigned int.
inline constexpr wchar_t otherFailureFormat[] = L"Error code 0x%08X returned.";

}  // namespace fendrel
