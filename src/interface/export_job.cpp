#include "export_job.h"

#include "english/texts.h"
#include "resource_ids.h"

namespace fendrel {

std::uint32_t JobLogonFailure::noLogon(HRESULT result) noexcept { return map(result, IDS_NO_LOGON, L"" TEXT_NO_LOGON); }

std::uint32_t JobLogonFailure::noProfileName(HRESULT result) noexcept {
  return map(result, IDS_NO_PROFILE_NAME, L"" TEXT_NO_PROFILE_NAME);
}

// The text says what failed instead of what the MAPI code means.
std::uint32_t JobLogonFailure::map(HRESULT result, UINT stringId, const wchar_t* fallback) noexcept {
  const std::uint32_t code = mapResult(result, words_);
  if (code == FENDREL_FAILED) words_.load(stringId, fallback);
  return code;
}

}  // namespace fendrel
