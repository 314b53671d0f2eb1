// The module's own wide exports, found by name: the ANSI set calls them through this table alone.
#pragma once

#include "fendrel/fendrel.h"

namespace fendrel {

struct WideEntryPoints {
  decltype(&NRVInitializeW) initialize;
  decltype(&NRVTerminateW) terminate;
  decltype(&NRVGetVersionW) getVersion;
  decltype(&NRVGetExportDestinationsW) getExportDestinations;
  decltype(&NRVInitExportDestinationW) initExportDestination;
  decltype(&NRVTermExportDestinationW) termExportDestination;
  decltype(&NRVEncodeDestinationOptionsW) encodeOptions;
  decltype(&NRVDecodeDestinationOptionsW) decodeOptions;
  decltype(&NRVFreeDestinationOptionsW) freeOptions;
  decltype(&NRVExportToDestinationW) exportToDestination;
  decltype(&NRVGetErrorTextW) getErrorText;
  decltype(&IsThreadSafeW) isThreadSafe;
  decltype(&InitPerThreadW) initPerThread;
  decltype(&UninitPerThreadW) uninitPerThread;
  // All three or none. Without them options cross between host and wide functions as they are.
  decltype(&NRVFreeDestinationOptionsA) freeAnsiOptions;
  decltype(&NRVDestinationOptionsA2W) optionsToWide;
  decltype(&NRVDestinationOptionsW2A) optionsToAnsi;

  bool convertsOptions() const noexcept { return freeAnsiOptions != nullptr; }
};

const WideEntryPoints& wide() noexcept;

// Looks the exports of `module` up in the order of the table. False when a required one is missing.
bool bindWideEntryPoints(HMODULE module) noexcept;

}  // namespace fendrel
