#include "wide_entry_points.h"

#include <type_traits>

namespace fendrel {
namespace {

WideEntryPoints g_wide;

}  // namespace

const WideEntryPoints& wide() noexcept { return g_wide; }

bool bindWideEntryPoints(HMODULE module) noexcept {
  const auto find = [module](const char* name, auto& function) {
    function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(GetProcAddress(module, name));
    return function != nullptr;
  };
  if (!(find("NRVInitializeW", g_wide.initialize) && find("NRVTerminateW", g_wide.terminate) &&
        find("NRVGetVersionW", g_wide.getVersion) && find("NRVGetExportDestinationsW", g_wide.getExportDestinations) &&
        find("NRVInitExportDestinationW", g_wide.initExportDestination) &&
        find("NRVTermExportDestinationW", g_wide.termExportDestination) &&
        find("NRVEncodeDestinationOptionsW", g_wide.encodeOptions) &&
        find("NRVDecodeDestinationOptionsW", g_wide.decodeOptions) &&
        find("NRVFreeDestinationOptionsW", g_wide.freeOptions) &&
        find("NRVExportToDestinationW", g_wide.exportToDestination) && find("NRVGetErrorTextW", g_wide.getErrorText) &&
        find("IsThreadSafeW", g_wide.isThreadSafe) && find("InitPerThreadW", g_wide.initPerThread) &&
        find("UninitPerThreadW", g_wide.uninitPerThread)))
    return false;
  if (!(find("NRVFreeDestinationOptionsA", g_wide.freeAnsiOptions) &&
        find("NRVDestinationOptionsA2W", g_wide.optionsToWide) &&
        find("NRVDestinationOptionsW2A", g_wide.optionsToAnsi))) {
    g_wide.freeAnsiOptions = nullptr;
    g_wide.optionsToWide = nullptr;
    g_wide.optionsToAnsi = nullptr;
  }
  return true;
}

}  // namespace fendrel
