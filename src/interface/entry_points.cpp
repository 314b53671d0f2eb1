// The wide entry points: each checks its arguments and enters the guard.
#include "destination_options.h"
#include "guard.h"
#include "job_set_up.h"
#include "job_table.h"
#include "module_state.h"
#include "options_conversion.h"
#include "options_encoding.h"
#include "posting_loop.h"
#include "report_naming.h"
#include "wait_cursor.h"

using namespace fendrel;

uint32_t WINAPI NRVInitializeW() noexcept { return startModule(); }

uint32_t WINAPI NRVTerminateW() noexcept {
  stopModule();
  return FENDREL_SUCCESS;
}

uint16_t WINAPI NRVGetVersionW() noexcept { return FENDREL_VERSION; }

const FendrelDestinationList* WINAPI NRVGetExportDestinationsW() noexcept { return exportDestinations(); }

uint32_t WINAPI NRVInitExportDestinationW(HWND parentWindow, uint32_t, DestinationOptions* options,
                                          const FendrelFileList* files, FendrelJob* job,
                                          FendrelResult** result) noexcept {
  if (job) *job = 0;
  if (!job || !result || !files || (files->fileCount != 0 && !files->files)) return FENDREL_INVALID_ARGUMENT;
  const ModuleUse use;
  // A later failure leaves MAPI initialised: only the end of a job undoes it, and there is no job.
  if (!use.holds() || MapiStart() != 0) return FENDREL_FAILED;
  const WaitCursor wait;
  return guarded([&] {
    std::unique_ptr<ExportJob> made;
    const auto code = setUpJob(parentWindow, options, *files, made);
    if (code != FENDREL_SUCCESS) return code;
    FendrelResult* const record = &made->resultRecord;
    const FendrelJob handle = jobTable().add(std::move(made));
    if (!use.holds()) {  // the host has stopped the module during this call
      endJob(handle);
      return FENDREL_FAILED;
    }
    *job = handle;
    *result = record;
    return FENDREL_SUCCESS;
  });
}

uint32_t WINAPI NRVTermExportDestinationW(FendrelJob job) noexcept {
  const WaitCursor wait;
  // An unknown handle has nothing to undo; handle 0 still uninitialises MAPI.
  if (job != 0)
    endJob(job);
  else if (IsMapiBound())
    MapiStop();
  return FENDREL_SUCCESS;
}

uint32_t WINAPI NRVExportToDestinationW(FendrelJob job, const FendrelExportDescription* files) noexcept {
  const JobCall call(job);
  if (!call || !files || (files->fileCount != 0 && !files->filePaths)) return FENDREL_INVALID_ARGUMENT;
  const WaitCursor wait;
  const auto post = [&] {
    ReportNaming naming(call->parentWindow);
    return postReportFiles({.session = call->session.Get(),
                            .optionsSupplied = call->optionsSupplied,
                            .destination = call->destination,
                            .fileNames = call->fileNames,
                            .sender = call->sender,
                            .templateClass = templateMessageClass(),
                            .documentClass = documentMessageClass(),
                            .naming = naming,
                            .errorText = call->errorText},
                           {files->filePaths, files->fileCount});
  };
  return guarded(post, &call->errorText);
}

const wchar_t* WINAPI NRVGetErrorTextW(FendrelJob job) noexcept {
  const JobCall call(job);
  return call ? call->errorText.get() : nullptr;
}

uint32_t WINAPI NRVEncodeDestinationOptionsW(FendrelJob job, DestinationOptions** block, uint16_t* size) noexcept {
  const JobCall call(job);
  if (!call || !block || !size) return FENDREL_INVALID_ARGUMENT;
  *block = nullptr;
  const auto code = encodeDestination(call->destination, call->encodedOptions, *size);
  if (code == FENDREL_SUCCESS) *block = call->encodedOptions.get();
  return code;
}

uint32_t WINAPI NRVDecodeDestinationOptionsW(FendrelJob job, DestinationOptions** options) noexcept {
  const JobCall call(job);
  return call && options ? decodeDestination(call->destination, *options) : FENDREL_INVALID_ARGUMENT;
}

uint32_t WINAPI NRVFreeDestinationOptionsW(uint32_t, DestinationOptions* options) noexcept {
  freeOptions(options);
  return FENDREL_SUCCESS;
}

uint32_t WINAPI NRVFreeDestinationOptionsA(uint32_t, DestinationOptionsA* options) noexcept {
  freeOptions(options);
  return FENDREL_SUCCESS;
}

uint32_t WINAPI NRVDestinationOptionsW2A(DestinationOptions* options, DestinationOptionsA** ansi,
                                         uint16_t* size) noexcept {
  return ansi ? convertOptions(options, *ansi, size) : FENDREL_INVALID_ARGUMENT;
}

uint32_t WINAPI NRVDestinationOptionsA2W(DestinationOptionsA* ansi, DestinationOptions** options,
                                         uint16_t* size) noexcept {
  return options ? convertOptions(ansi, *options, size) : FENDREL_INVALID_ARGUMENT;
}

uint32_t WINAPI NRVA2WDestinationOptions(DestinationOptionsA* ansi, DestinationOptions** options,
                                         uint16_t* size) noexcept {
  return NRVDestinationOptionsA2W(ansi, options, size);
}

uint32_t WINAPI IsThreadSafeW() noexcept { return 0; }
uint32_t WINAPI InitPerThreadW() noexcept { return 0; }
uint32_t WINAPI UninitPerThreadW() noexcept { return 0; }
