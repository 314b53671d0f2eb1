#include "fake_wide.h"

#include "destination_options.h"
#include "options_conversion.h"

using fendrel::test::fake;

namespace fendrel::test {

FakeWide fake;

}  // namespace fendrel::test

uint32_t WINAPI NRVInitializeW() noexcept { return static_cast<uint32_t>(++fake.initialised); }
uint32_t WINAPI NRVTerminateW() noexcept { return static_cast<uint32_t>(--fake.initialised); }
uint16_t WINAPI NRVGetVersionW() noexcept { return 0x0123; }
const FendrelDestinationList* WINAPI NRVGetExportDestinationsW() noexcept {
  InterlockedIncrement(&fake.listsAsked);
  Sleep(fake.listDelay);
  return fake.list;
}

uint32_t WINAPI NRVInitExportDestinationW(HWND parentWindow, uint32_t hostValue, DestinationOptions* options,
                                          const FendrelFileList* files, FendrelJob* job,
                                          FendrelResult** result) noexcept {
  fake.parentWindow = parentWindow;
  fake.hostValue = hostValue;
  if (fake.lookAtFiles) fake.lookAtFiles(files);
  if (fake.lookAtOptions) fake.lookAtOptions(options);
  *job = fake.initCode == FENDREL_SUCCESS ? fendrel::test::fakeJob : 0;
  *result = &fake.result;
  return fake.initCode;
}

uint32_t WINAPI NRVTermExportDestinationW(FendrelJob job) noexcept {
  fake.ended.push_back(job);
  if (fake.atEnd) fake.atEnd();
  return fake.termCode;
}

uint32_t WINAPI NRVExportToDestinationW(FendrelJob job, const FendrelExportDescription* files) noexcept {
  if (job != fendrel::test::fakeJob) return FENDREL_INVALID_ARGUMENT;
  if (fake.lookAtExport) fake.lookAtExport(files);
  return FENDREL_SUCCESS;
}

const wchar_t* WINAPI NRVGetErrorTextW(FendrelJob) noexcept { return fake.errorText; }

uint32_t WINAPI NRVEncodeDestinationOptionsW(FendrelJob, DestinationOptions** block, uint16_t* size) noexcept {
  *block = fake.encoded;
  *size = 22;
  return fake.encodeCode;
}

uint32_t WINAPI NRVDecodeDestinationOptionsW(FendrelJob, DestinationOptions** options) noexcept {
  *options = fake.makeDecoded ? fake.makeDecoded() : nullptr;
  return fake.decodeCode;
}

uint32_t WINAPI NRVFreeDestinationOptionsW(uint32_t context, DestinationOptions* options) noexcept {
  fake.freedWide.push_back(context);
  fendrel::freeOptions(options);
  return FENDREL_SUCCESS;
}

uint32_t WINAPI NRVFreeDestinationOptionsA(uint32_t context, DestinationOptionsA* options) noexcept {
  fake.freedAnsi.push_back(context);
  fendrel::freeOptions(options);
  return FENDREL_SUCCESS;
}

uint32_t WINAPI NRVDestinationOptionsW2A(DestinationOptions* options, DestinationOptionsA** ansi,
                                         uint16_t* size) noexcept {
  return fendrel::convertOptions(options, *ansi, size);
}

uint32_t WINAPI NRVDestinationOptionsA2W(DestinationOptionsA* ansi, DestinationOptions** options,
                                         uint16_t* size) noexcept {
  return fendrel::convertOptions(ansi, *options, size);
}

uint32_t WINAPI NRVA2WDestinationOptions(DestinationOptionsA*, DestinationOptions**, uint16_t*) noexcept { return 1; }
uint32_t WINAPI IsThreadSafeW() noexcept { return 41; }
uint32_t WINAPI InitPerThreadW() noexcept { return 42; }
uint32_t WINAPI UninitPerThreadW() noexcept { return 43; }
