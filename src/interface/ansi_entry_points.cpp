// The ANSI entry points: each converts arguments and results around a call of the wide function.
#include "ansi_job.h"
#include "ansi_layer.h"
#include "ansi_options.h"
#include "guard.h"

using namespace fendrel;

namespace {

// The wide set's handle of a job; an unknown handle is unknown there too.
FendrelJob wideJobOf(FendrelJob job) noexcept {
  if (job == 0) return 0;
  const AnsiJob* const known = ansiJobs().find(job);
  return known ? known->wideJob : noHandle;
}

// Ends the wide job if its record cannot be converted for the host.
std::uint32_t giveUp(FendrelJob wideJob) noexcept {
  wide().termExportDestination(wideJob);
  return FENDREL_OUT_OF_MEMORY;
}

}  // namespace

uint32_t WINAPI NRVInitialize() noexcept { return wide().initialize(); }
uint32_t WINAPI NRVTerminate() noexcept { return wide().terminate(); }
uint16_t WINAPI NRVGetVersion() noexcept { return wide().getVersion(); }

const FendrelDestinationListA* WINAPI NRVGetExportDestinations() noexcept {
  const FendrelDestinationListA* list = nullptr;
  guarded([&] {
    list = ansiDestinations();
    return FENDREL_SUCCESS;
  });
  return list;
}

uint32_t WINAPI NRVInitExportDestination(HWND parentWindow, uint32_t context, DestinationOptionsA* options,
                                         const FendrelFileListA* files, FendrelJob* job,
                                         FendrelResultA** result) noexcept {
  if (job) *job = 0;
  if (!job || !result) return FENDREL_INVALID_ARGUMENT;
  FendrelJob wideJob = 0;
  const auto code = guarded([&] {
    auto made = std::make_unique<AnsiJob>(context);
    FendrelResult* wideResult = nullptr;
    {
      WideOptions converted(nullptr, FreeWideOptions{context});
      DestinationOptions* wideOptions = nullptr;
      if (const auto failed = toWideOptions(options, converted, wideOptions)) return failed;
      const WideFileList wideFiles(files);
      if (const auto failed =
              wide().initExportDestination(parentWindow, context, wideOptions, wideFiles.get(), &wideJob, &wideResult))
        return failed;
    }
    made->wideJob = wideJob;
    made->result = std::make_unique<AnsiResult>(*wideResult);
    FendrelResultA* const record = made->result->get();
    *job = ansiJobs().add(std::move(made));
    *result = record;
    return FENDREL_SUCCESS;
  });
  return code == FENDREL_SUCCESS || wideJob == 0 ? code : giveUp(wideJob);
}

uint32_t WINAPI NRVTermExportDestination(FendrelJob job) noexcept {
  const auto code = wide().termExportDestination(wideJobOf(job));
  ansiJobs().take(job).reset();
  return code;
}

uint32_t WINAPI NRVEncodeDestinationOptions(FendrelJob job, DestinationOptionsA** block, uint16_t* size) noexcept {
  if (!block) return FENDREL_INVALID_ARGUMENT;
  *block = nullptr;
  DestinationOptions* wideBlock = nullptr;
  std::uint16_t wideSize = 0;
  const auto code = wide().encodeOptions(wideJobOf(job), &wideBlock, &wideSize);
  if (!wideBlock || !wide().convertsOptions()) {
    *block = reinterpret_cast<DestinationOptionsA*>(wideBlock);
    return code;
  }
  AnsiOptions& kept = ansiJobs().find(job)->encodedOptions;  // only a known job has a block
  kept.reset();
  const auto converted = toAnsiOptions(*wideBlock, kept, size);
  if (converted == FENDREL_SUCCESS) *block = kept.get();
  return code != FENDREL_SUCCESS ? code : converted;
}

uint32_t WINAPI NRVDecodeDestinationOptions(FendrelJob job, DestinationOptionsA** options) noexcept {
  if (!options) return FENDREL_INVALID_ARGUMENT;
  *options = nullptr;
  DestinationOptions* record = nullptr;
  const auto code = wide().decodeOptions(wideJobOf(job), &record);
  if (!record || !wide().convertsOptions()) {
    *options = reinterpret_cast<DestinationOptionsA*>(record);
    return code;
  }
  const std::uint32_t context = ansiJobs().find(job)->context;  // only a known job has a record
  const WideOptions decoded(record, FreeWideOptions{context});
  AnsiOptions ansi(nullptr, FreeAnsiOptions{context});
  const auto converted = toAnsiOptions(*record, ansi, nullptr);
  if (converted == FENDREL_SUCCESS) *options = ansi.release();
  return code != FENDREL_SUCCESS ? code : converted;
}

uint32_t WINAPI NRVFreeDestinationOptions(uint32_t context, DestinationOptionsA* options) noexcept {
  if (wide().convertsOptions()) return wide().freeAnsiOptions(context, options);
  return wide().freeOptions(context, reinterpret_cast<DestinationOptions*>(options));
}

uint32_t WINAPI NRVExportToDestination(FendrelJob job, const FendrelExportDescriptionA* files) noexcept {
  return guarded([&] {
    const WideExportDescription wideFiles(files);
    return wide().exportToDestination(wideJobOf(job), wideFiles.get());
  });
}

const char* WINAPI NRVGetErrorText(FendrelJob job) noexcept {
  AnsiJob* const known = ansiJobs().find(job);
  if (!known) return nullptr;
  known->errorText.reset();
  guarded([known] {
    known->errorText = ansiFromWide(wide().getErrorText(known->wideJob));
    return FENDREL_SUCCESS;
  });
  return known->errorText.get();
}

uint32_t WINAPI IsThreadSafe() noexcept { return wide().isThreadSafe(); }
uint32_t WINAPI InitPerThread() noexcept { return wide().initPerThread(); }
uint32_t WINAPI UninitPerThread() noexcept { return wide().uninitPerThread(); }
