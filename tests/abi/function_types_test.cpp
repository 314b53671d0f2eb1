// The header's types of pointers to functions are those of the functions.
#include <type_traits>

#include "abi_test.h"

namespace fendrel::test {
namespace {

// Only with the same arguments and result does a pointer convert to one without noexcept.
template <class Pointer, class Declared>
constexpr bool sameButNoexcept = std::is_convertible_v<Declared, Pointer>&& std::is_pointer_v<Pointer>;

static_assert(sameButNoexcept<FendrelInitializeW_t, decltype(&NRVInitializeW)>);
static_assert(sameButNoexcept<FendrelTerminateW_t, decltype(&NRVTerminateW)>);
static_assert(sameButNoexcept<FendrelGetVersionW_t, decltype(&NRVGetVersionW)>);
static_assert(sameButNoexcept<FendrelGetExportDestinationsW_t, decltype(&NRVGetExportDestinationsW)>);
static_assert(sameButNoexcept<FendrelInitExportDestinationW_t, decltype(&NRVInitExportDestinationW)>);
static_assert(sameButNoexcept<FendrelTermExportDestinationW_t, decltype(&NRVTermExportDestinationW)>);
static_assert(sameButNoexcept<FendrelExportToDestinationW_t, decltype(&NRVExportToDestinationW)>);
static_assert(sameButNoexcept<FendrelGetErrorTextW_t, decltype(&NRVGetErrorTextW)>);
static_assert(sameButNoexcept<FendrelEncodeDestinationOptionsW_t, decltype(&NRVEncodeDestinationOptionsW)>);
static_assert(sameButNoexcept<FendrelDecodeDestinationOptionsW_t, decltype(&NRVDecodeDestinationOptionsW)>);
static_assert(sameButNoexcept<FendrelFreeDestinationOptionsW_t, decltype(&NRVFreeDestinationOptionsW)>);
static_assert(sameButNoexcept<FendrelFreeDestinationOptionsA_t, decltype(&NRVFreeDestinationOptionsA)>);
static_assert(sameButNoexcept<FendrelDestinationOptionsW2A_t, decltype(&NRVDestinationOptionsW2A)>);
static_assert(sameButNoexcept<FendrelDestinationOptionsA2W_t, decltype(&NRVDestinationOptionsA2W)>);
static_assert(sameButNoexcept<FendrelA2WDestinationOptions_t, decltype(&NRVA2WDestinationOptions)>);
static_assert(sameButNoexcept<FendrelIsThreadSafeW_t, decltype(&IsThreadSafeW)>);
static_assert(sameButNoexcept<FendrelInitPerThreadW_t, decltype(&InitPerThreadW)>);
static_assert(sameButNoexcept<FendrelUninitPerThreadW_t, decltype(&UninitPerThreadW)>);
static_assert(sameButNoexcept<FendrelInitialize_t, decltype(&NRVInitialize)>);
static_assert(sameButNoexcept<FendrelTerminate_t, decltype(&NRVTerminate)>);
static_assert(sameButNoexcept<FendrelGetVersion_t, decltype(&NRVGetVersion)>);
static_assert(sameButNoexcept<FendrelGetExportDestinations_t, decltype(&NRVGetExportDestinations)>);
static_assert(sameButNoexcept<FendrelInitExportDestination_t, decltype(&NRVInitExportDestination)>);
static_assert(sameButNoexcept<FendrelTermExportDestination_t, decltype(&NRVTermExportDestination)>);
static_assert(sameButNoexcept<FendrelExportToDestination_t, decltype(&NRVExportToDestination)>);
static_assert(sameButNoexcept<FendrelGetErrorText_t, decltype(&NRVGetErrorText)>);
static_assert(sameButNoexcept<FendrelEncodeDestinationOptions_t, decltype(&NRVEncodeDestinationOptions)>);
static_assert(sameButNoexcept<FendrelDecodeDestinationOptions_t, decltype(&NRVDecodeDestinationOptions)>);
static_assert(sameButNoexcept<FendrelFreeDestinationOptions_t, decltype(&NRVFreeDestinationOptions)>);
static_assert(sameButNoexcept<FendrelIsThreadSafe_t, decltype(&IsThreadSafe)>);
static_assert(sameButNoexcept<FendrelInitPerThread_t, decltype(&InitPerThread)>);
static_assert(sameButNoexcept<FendrelUninitPerThread_t, decltype(&UninitPerThread)>);

// Like a host without its own declarations.
TEST_F(PluginTest, IsUsedThroughTheHeadersTypes) {
  const auto getVersion = reinterpret_cast<FendrelGetVersionW_t>(
      reinterpret_cast<void*>(GetProcAddress(plugin().module(), "NRVGetVersionW")));
  ASSERT_NE(getVersion, nullptr);
  EXPECT_EQ(getVersion(), FENDREL_VERSION);
}

}  // namespace
}  // namespace fendrel::test
