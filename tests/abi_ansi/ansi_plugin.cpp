#include "ansi_plugin.h"

#include <stdexcept>

namespace fendrel::test {
namespace {

template <class Function>
void lookUp(HMODULE module, const char* name, Function& function) {
  function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  if (!function) throw std::runtime_error(std::string("FENDREL.DLL does not export ") + name);
}

}  // namespace

AnsiPlugin::AnsiPlugin(const std::wstring& path) : module_(LoadLibraryW(path.c_str())) {
  if (!module_) throw std::runtime_error("FENDREL.DLL cannot be loaded");
  lookUp(module_, "NRVInitialize", initialize);
  lookUp(module_, "NRVTerminate", terminate);
  lookUp(module_, "NRVGetVersion", getVersion);
  lookUp(module_, "NRVGetExportDestinations", getExportDestinations);
  lookUp(module_, "NRVInitExportDestination", initExportDestination);
  lookUp(module_, "NRVTermExportDestination", termExportDestination);
  lookUp(module_, "NRVEncodeDestinationOptions", encodeOptions);
  lookUp(module_, "NRVDecodeDestinationOptions", decodeOptions);
  lookUp(module_, "NRVFreeDestinationOptions", freeOptions);
  lookUp(module_, "NRVExportToDestination", exportToDestination);
  lookUp(module_, "NRVGetErrorText", getErrorText);
  lookUp(module_, "IsThreadSafe", isThreadSafe);
  lookUp(module_, "InitPerThread", initPerThread);
  lookUp(module_, "UninitPerThread", uninitPerThread);
}

AnsiPlugin::~AnsiPlugin() { FreeLibrary(module_); }

}  // namespace fendrel::test
