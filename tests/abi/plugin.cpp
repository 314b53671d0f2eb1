#include "plugin.h"

#include "build_paths.h"

namespace fendrel::test {

// Another build of the module may be named, relative to the build folder.
std::wstring Plugin::builtPath() {
  wchar_t other[260] = {};
  const DWORD length = GetEnvironmentVariableW(L"FENDREL_TEST_PLUGIN", other, 260);
  return buildFile(length != 0 && length < 260 ? other : L"bin/FENDREL.DLL");
}

HMODULE loadPlugin(const std::wstring& path) {
  // A host shows dialogs of its own, so it has these loaded. Loading them again for each test takes ten times its time.
  [[maybe_unused]] static const HMODULE ofEveryHost[] = {LoadLibraryW(L"comctl32.dll"), LoadLibraryW(L"comdlg32.dll")};
  const HMODULE module = LoadLibraryW(path.c_str());
  if (!module) throw std::runtime_error("FENDREL.DLL cannot be loaded");
  return module;
}

Plugin::Plugin(const std::wstring& path) : module_(loadPlugin(path)) {
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
