#include "ansi_plugin.h"

namespace fendrel::test {

AnsiPlugin::AnsiPlugin(const std::wstring& path) : module_(loadPlugin(path)) {
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
