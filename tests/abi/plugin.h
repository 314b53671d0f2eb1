// The built FENDREL.DLL, loaded like a host does.
#pragma once

#include <windows.h>

#include <string>

#include <fendrel/fendrel.h>

namespace fendrel::test {

class Plugin {
 public:
  explicit Plugin(const std::wstring& path = builtPath());
  ~Plugin();
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  static std::wstring builtPath();
  HMODULE module() const { return module_; }

  decltype(&NRVInitializeW) initialize;
  decltype(&NRVTerminateW) terminate;
  decltype(&NRVGetVersionW) getVersion;
  decltype(&NRVGetExportDestinationsW) getExportDestinations;
  decltype(&NRVInitExportDestinationW) initExportDestination;
  decltype(&NRVTermExportDestinationW) termExportDestination;
  decltype(&NRVExportToDestinationW) exportToDestination;
  decltype(&NRVGetErrorTextW) getErrorText;
  decltype(&NRVEncodeDestinationOptionsW) encodeOptions;
  decltype(&NRVDecodeDestinationOptionsW) decodeOptions;
  decltype(&NRVFreeDestinationOptionsW) freeOptionsW;
  decltype(&NRVFreeDestinationOptionsA) freeOptionsA;
  decltype(&NRVDestinationOptionsW2A) optionsW2A;
  decltype(&NRVDestinationOptionsA2W) optionsA2W;
  decltype(&NRVA2WDestinationOptions) a2wOptions;
  decltype(&IsThreadSafeW) isThreadSafe;
  decltype(&InitPerThreadW) initPerThread;
  decltype(&UninitPerThreadW) uninitPerThread;

 private:
  HMODULE module_;
};

}  // namespace fendrel::test
