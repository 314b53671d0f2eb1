#include "plugin.h"

#include <stdexcept>

#include "build_paths.h"

namespace fendrel::test {
namespace {

template <class Function>
void lookUp(HMODULE module, const char* name, Function& function) {
  function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  if (!function) throw std::runtime_error(std::string("FENDREL.DLL does not export ") + name);
}

}  // namespace

// Another build of the module may be named, relative to the build folder.
std::wstring Plugin::builtPath() {
  wchar_t other[260] = {};
  const DWORD length = GetEnvironmentVariableW(L"FENDREL_TEST_PLUGIN", other, 260);
  return buildFile(length != 0 && length < 260 ? other : L"bin/FENDREL.DLL");
}

Plugin::Plugin(const std::wstring& path) : module_(LoadLibraryW(path.c_str())) {
  if (!module_) throw std::runtime_error("FENDREL.DLL cannot be loaded");
  lookUp(module_, "NRVInitializeW", initialize);
  lookUp(module_, "NRVTerminateW", terminate);
  lookUp(module_, "NRVGetVersionW", getVersion);
  lookUp(module_, "NRVGetExportDestinationsW", getExportDestinations);
  lookUp(module_, "NRVInitExportDestinationW", initExportDestination);
  lookUp(module_, "NRVTermExportDestinationW", termExportDestination);
  lookUp(module_, "NRVExportToDestinationW", exportToDestination);
  lookUp(module_, "NRVGetErrorTextW", getErrorText);
  lookUp(module_, "NRVEncodeDestinationOptionsW", encodeOptions);
  lookUp(module_, "NRVDecodeDestinationOptionsW", decodeOptions);
  lookUp(module_, "NRVFreeDestinationOptionsW", freeOptionsW);
  lookUp(module_, "NRVFreeDestinationOptionsA", freeOptionsA);
  lookUp(module_, "NRVDestinationOptionsW2A", optionsW2A);
  lookUp(module_, "NRVDestinationOptionsA2W", optionsA2W);
  lookUp(module_, "NRVA2WDestinationOptions", a2wOptions);
  lookUp(module_, "IsThreadSafeW", isThreadSafe);
  lookUp(module_, "InitPerThreadW", initPerThread);
  lookUp(module_, "UninitPerThreadW", uninitPerThread);
}

Plugin::~Plugin() { FreeLibrary(module_); }

}  // namespace fendrel::test
