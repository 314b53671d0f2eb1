// The local store's files, where MAPI cannot look: which ones, and the words for what goes wrong with them.
#pragma once

#include <fmt/format.h>

#include <maintenance.h>

#include <string>

#include "command_context.h"
#include "error_words.h"

namespace fendrel::host {

// The database as given, else that of --store, else the store in use. Throws Failure(failed) when there is none.
std::wstring storePath(const CommandContext& context, const std::string& given);

// The same, or where it would be made; the file may be missing. Empty when the user has no folder for it.
std::wstring storePlace(const CommandContext& context);

// False for a file that does not begin as a store of ours does.
bool looksLikeStore(const std::wstring& path);

// Says that it is none.
Failure noStore(const std::wstring& path);

HRESULT codeOf(store::Trouble trouble);
ExitCode exitCodeOf(store::Trouble trouble);

// Calls the store's maintenance; its failure becomes a Failure.
template <class Work>
auto keepHouse(Work&& work) {
  try {
    return work();
  } catch (const store::MaintenanceFailure& failure) {
    const HRESULT code = codeOf(failure.trouble());
    throw Failure(exitCodeOf(failure.trouble()), fmt::format("{} ({})", failure.what(), errorName(code)), code);
  }
}

}  // namespace fendrel::host
