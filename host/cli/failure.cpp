#include "failure.h"

#include <mapicode.h>

#include <fmt/format.h>

#include "error_words.h"

namespace fendrel::host {

bool isDamage(HRESULT code) noexcept { return code == MAPI_E_CORRUPT_STORE || code == MAPI_E_CORRUPT_DATA; }

ExitCode exitCodeFor(HRESULT code, ExitCode otherwise) noexcept {
  if (code == MAPI_E_USER_CANCEL || code == MAPI_E_CANCEL || code == E_ABORT) return ExitCode::cancelled;
  return isDamage(code) ? ExitCode::damageFound : otherwise;
}

bool Failure::retryable() const noexcept { return passing_ || passesByItself(result_); }

Failure failureOf(ExitCode exitCode, const std::string& subject, HRESULT code, const std::string& wayOut) {
  std::string text = fmt::format("{}: {}.", subject, describeError(code));
  const ErrorWords* words = findErrorWords(code);
  if (!wayOut.empty())
    text += ' ' + wayOut;
  else if (words && *words->wayOut)
    text += std::string(" ") + words->wayOut;
  return Failure(exitCode, text, code);
}

Failure toldFailure(ExitCode exitCode, const std::string& subject, HRESULT code, const std::string& words) {
  if (words.empty()) return failureOf(exitCode, subject, code);
  const auto number = static_cast<std::uint32_t>(code);
  return Failure(exitCode, fmt::format("{}: {} ({}, 0x{:08X})", subject, words, errorName(code), number), code);
}

Failure systemFailure(ExitCode exitCode, const std::string& subject, DWORD error, const std::string& wayOut) {
  return failureOf(exitCode, subject, HRESULT_FROM_WIN32(error), wayOut);
}

void check(HRESULT code, ExitCode exitCode, const std::string& subject) {
  if (FAILED(code)) throw failureOf(exitCode, subject, code);
}

}  // namespace fendrel::host
