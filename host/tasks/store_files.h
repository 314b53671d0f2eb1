// The local store's files, for maintenance without MAPI: their paths, and messages for their failures.
#pragma once

#include <fmt/format.h>

#include <maintenance.h>
#include <status_codes.h>

#include <string>

#include "command_context.h"
#include "error_words.h"

namespace fendrel::host {

// The database as given, else that of --store, else the store in use. Throws Failure(failed) if there is none.
std::wstring storePath(const CommandContext& context, const std::string& given);

// The same, or where it would be created; the file may be missing. Empty if the user has no folder for it.
std::wstring storePlace(const CommandContext& context);

// False for a file that does not begin like a store.
bool looksLikeStore(const std::wstring& path);

// The failure for a file that is not a store.
Failure noStore(const std::wstring& path);

ExitCode exitCodeOf(store::Status status);

// Calls the store's maintenance; its failure becomes a Failure.
template <class Work>
auto maintain(Work&& work) {
  try {
    return work();
  } catch (const store::StatusFailure& failure) {
    const HRESULT code = store::toResult(failure.status());
    throw Failure(exitCodeOf(failure.status()), fmt::format("{} ({})", failure.what(), errorName(code)), code);
  }
}

}  // namespace fendrel::host
