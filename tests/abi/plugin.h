// The built FENDREL.DLL, loaded like a host does.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

#include <fendrel/fendrel.h>

namespace fendrel::test {

// The caller frees the module.
HMODULE loadPlugin(const std::wstring& path);

template <class Function>
void lookUp(HMODULE module, const char* name, Function& function) {
  function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  if (!function) throw std::runtime_error(std::string("FENDREL.DLL does not export ") + name);
}

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
