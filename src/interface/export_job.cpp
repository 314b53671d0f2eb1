#include "export_job.h"

namespace fendrel {
namespace {

// A failed logon's words say what could not be done instead of the MAPI code's own ones.
std::uint32_t mapLogonFailure(ExportJob& job, HRESULT result, UINT stringId, const wchar_t* fallback) noexcept {
  const std::uint32_t code = mapResult(result, job.errorText);
  if (code == FENDREL_FAILED) job.errorText.load(stringId, fallback);
  return code;
}

}  // namespace

std::uint32_t ReleaseSession(ExportJob& job) noexcept {
  closeSession(job.session);
  job.destination.profileName.reset();
  job.sender = {};
  return FENDREL_SUCCESS;
}

std::uint32_t Logon(ExportJob& job, const wchar_t* profileName, const wchar_t* profilePassword) noexcept {
  ReleaseSession(job);
  HRESULT result = openSession(profileName, profilePassword, job.optionsSupplied, job.session);
  if (FAILED(result)) return mapLogonFailure(job, result, 11, L"Cannot logon to Exchange Profile.");
  result = GetSessionProfileName(job.session.Get(), job.destination.profileName, job.sender);
  if (FAILED(result)) return mapLogonFailure(job, result, 12, L"Cannot retrieve Exchange profile name.");
  return FENDREL_SUCCESS;
}

}  // namespace fendrel
