// The module's own wide exports, found by name: the ANSI set calls them only through this table.
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
  // All three or none. Without them options pass unconverted between host and wide functions.
  decltype(&NRVFreeDestinationOptionsA) freeAnsiOptions;
  decltype(&NRVDestinationOptionsA2W) optionsToWide;
  decltype(&NRVDestinationOptionsW2A) optionsToAnsi;

  bool convertsOptions() const noexcept { return freeAnsiOptions != nullptr; }
};

const WideEntryPoints& wide() noexcept;

// Looks up the exports of `module` in the table's order. False if a required one is missing.
bool bindWideEntryPoints(HMODULE module) noexcept;

}  // namespace fendrel
