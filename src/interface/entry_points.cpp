// The wide entry points: each checks its arguments and enters the guard.
#include "destination_options.h"
#include "guard.h"
#include "job_table.h"
#include "module_state.h"
#include "job_set_up.h"
#include "options_conversion.h"
#include "options_encoding.h"
#include "posting_loop.h"
#include "report_naming.h"
#include "wait_cursor.h"

using namespace fendrel;

uint32_t WINAPI NRVInitializeW() noexcept { return startModule(); }

uint32_t WINAPI NRVTerminateW() noexcept {
  stopModule();
  return std::uint32_t{FENDREL_SUCCESS};
}

uint16_t WINAPI NRVGetVersionW() noexcept { return FENDREL_VERSION; }

const FendrelDestinationList* WINAPI NRVGetExportDestinationsW() noexcept { return exportDestinations(); }

uint32_t WINAPI NRVInitExportDestinationW(HWND parentWindow, uint32_t, DestinationOptions* options,
                                          const FendrelFileList* files, FendrelJob* job,
                                          FendrelResult** result) noexcept {
  if (job) *job = 0;
  if (!job || !result || !files || (files->fileCount != 0 && !files->files)) return std::uint32_t{FENDREL_INVALID_ARGUMENT};
  // A failure further on leaves MAPI initialised: only the end of a job undoes it, and there is none.
  if (!IsMapiBound() || MapiStart() != 0) return FENDREL_FAILED;
  const WaitCursor wait;
  return guarded([&] {
    std::unique_ptr<ExportJob> made;
    const auto code = setUpJob(parentWindow, options, *files, made);
    if (code != FENDREL_SUCCESS) return code;
    FendrelResult* const record = &made->resultRecord;
    *job = jobTable().add(std::move(made));
    *result = record;
    return std::uint32_t{FENDREL_SUCCESS};
  });
}

uint32_t WINAPI NRVTermExportDestinationW(FendrelJob job) noexcept {
  return guarded([&] {
    const WaitCursor wait;
    // An unknown handle has nothing to undo; without one, MAPI is let go of all the same.
    if (job != 0 && !jobTable().remove(job)) return std::uint32_t{FENDREL_SUCCESS};
    if (IsMapiBound()) MapiStop();
    return std::uint32_t{FENDREL_SUCCESS};
  });
}

uint32_t WINAPI NRVExportToDestinationW(FendrelJob job, const FendrelExportDescription* files) noexcept {
  return guarded([&] {
    ExportJob* const known = jobTable().find(job);
    if (!known || !files || (files->fileCount != 0 && !files->filePaths)) return std::uint32_t{FENDREL_INVALID_ARGUMENT};
    const WaitCursor wait;
    ReportNaming naming(known->parentWindow);
    return postReportFiles({.session = known->session.Get(),
                            .optionsSupplied = known->optionsSupplied,
                            .destination = known->destination,
                            .fileNames = known->fileNames,
                            .sender = known->sender,
                            .templateClass = templateMessageClass(),
                            .documentClass = documentMessageClass(),
                            .naming = &naming,
                            .errorText = known->errorText},
                           {files->filePaths, files->fileCount});
  });
}

const wchar_t* WINAPI NRVGetErrorTextW(FendrelJob job) noexcept {
  const wchar_t* text = nullptr;
  guarded([&] {
    if (const ExportJob* const known = jobTable().find(job)) text = known->errorText.get();
    return std::uint32_t{FENDREL_SUCCESS};
  });
  return text;
}

uint32_t WINAPI NRVEncodeDestinationOptionsW(FendrelJob job, DestinationOptions** block, uint16_t* size) noexcept {
  return guarded([&] {
    ExportJob* const known = jobTable().find(job);
    if (!known || !block || !size) return std::uint32_t{FENDREL_INVALID_ARGUMENT};
    *block = nullptr;
    const auto code = encodeDestination(known->destination, known->encodedOptions, *size);
    if (code == FENDREL_SUCCESS) *block = known->encodedOptions.get();
    return code;
  });
}

uint32_t WINAPI NRVDecodeDestinationOptionsW(FendrelJob job, DestinationOptions** options) noexcept {
  return guarded([&] {
    const ExportJob* const known = jobTable().find(job);
    if (!known || !options) return std::uint32_t{FENDREL_INVALID_ARGUMENT};
    return decodeDestination(known->destination, *options);
  });
}

uint32_t WINAPI NRVFreeDestinationOptionsW(uint32_t, DestinationOptions* options) noexcept {
  freeOptions(options);
  return std::uint32_t{FENDREL_SUCCESS};
}

uint32_t WINAPI NRVFreeDestinationOptionsA(uint32_t, DestinationOptionsA* options) noexcept {
  freeOptions(options);
  return std::uint32_t{FENDREL_SUCCESS};
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
