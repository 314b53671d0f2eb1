// The ANSI exports of the built FENDREL.DLL.
#pragma once

#include "plugin.h"

namespace fendrel::test {

class AnsiPlugin {
 public:
  explicit AnsiPlugin(const std::wstring& path = Plugin::builtPath());
  ~AnsiPlugin();
  AnsiPlugin(const AnsiPlugin&) = delete;
  AnsiPlugin& operator=(const AnsiPlugin&) = delete;

  HMODULE module() const { return module_; }

  decltype(&NRVInitialize) initialize;
  decltype(&NRVTerminate) terminate;
  decltype(&NRVGetVersion) getVersion;
  decltype(&NRVGetExportDestinations) getExportDestinations;
  decltype(&NRVInitExportDestination) initExportDestination;
  decltype(&NRVTermExportDestination) termExportDestination;
  decltype(&NRVEncodeDestinationOptions) encodeOptions;
  decltype(&NRVDecodeDestinationOptions) decodeOptions;
  decltype(&NRVFreeDestinationOptions) freeOptions;
  decltype(&NRVExportToDestination) exportToDestination;
  decltype(&NRVGetErrorText) getErrorText;
  decltype(&IsThreadSafe) isThreadSafe;
  decltype(&InitPerThread) initPerThread;
  decltype(&UninitPerThread) uninitPerThread;

 private:
  HMODULE module_;
};

}  // namespace fendrel::test
