// The ANSI entry points: each converts what the host hands in and what it gets, around a call of the wide function.
#include "ansi_job.h"
#include "ansi_layer.h"
#include "ansi_options.h"
#include "guard.h"

using namespace fendrel;

namespace {

// The wide job behind a handle; 0 for a handle that is 0, unknown or ended.
FendrelJob wideJobOf(const AnsiJob* job) noexcept { return job ? job->wideJob : 0; }

// Ends the wide job again when the host cannot be given its record.
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
    return std::uint32_t{FENDREL_SUCCESS};
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
      if (const auto failed = wide().initExportDestination(parentWindow, context, wideOptions, wideFiles.get(),
                                                           &wideJob, &wideResult))
        return failed;
    }
    made->wideJob = wideJob;
    made->result = std::make_unique<AnsiResult>(*wideResult);
    FendrelResultA* const record = made->result->get();
    *job = ansiJobs().add(std::move(made));
    *result = record;
    return std::uint32_t{FENDREL_SUCCESS};
  });
  return code == FENDREL_SUCCESS || wideJob == 0 ? code : giveUp(wideJob);
}

uint32_t WINAPI NRVTermExportDestination(FendrelJob job) noexcept {
  return guarded([&] {
    const AnsiJob* const known = ansiJobs().find(job);
    if (job != 0 && !known) return std::uint32_t{FENDREL_SUCCESS};
    const auto code = wide().termExportDestination(wideJobOf(known));
    ansiJobs().remove(job);
    return code;
  });
}

uint32_t WINAPI NRVEncodeDestinationOptions(FendrelJob job, DestinationOptionsA** block, uint16_t* size) noexcept {
  if (!block || !size) return FENDREL_INVALID_ARGUMENT;
  *block = nullptr;
  return guarded([&] {
    AnsiJob* const known = ansiJobs().find(job);
    DestinationOptions* wideBlock = nullptr;
    std::uint16_t wideSize = 0;
    const auto code = wide().encodeOptions(wideJobOf(known), &wideBlock, &wideSize);
    if (!known || !wideBlock || !wide().convertsOptions()) {
      *block = reinterpret_cast<DestinationOptionsA*>(wideBlock);
      return code;
    }
    known->encodedOptions.reset();
    const auto converted = toAnsiOptions(*wideBlock, known->encodedOptions, size);
    if (converted == FENDREL_SUCCESS) *block = known->encodedOptions.get();
    return code != FENDREL_SUCCESS ? code : converted;
  });
}

uint32_t WINAPI NRVDecodeDestinationOptions(FendrelJob job, DestinationOptionsA** options) noexcept {
  if (!options) return FENDREL_INVALID_ARGUMENT;
  *options = nullptr;
  return guarded([&] {
    const AnsiJob* const known = ansiJobs().find(job);
    DestinationOptions* record = nullptr;
    const auto code = wide().decodeOptions(wideJobOf(known), &record);
    if (!known || !record || !wide().convertsOptions()) {
      *options = reinterpret_cast<DestinationOptionsA*>(record);
      return code;
    }
    const WideOptions decoded(record, FreeWideOptions{known->context});
    AnsiOptions ansi(nullptr, FreeAnsiOptions{known->context});
    const auto converted = toAnsiOptions(*record, ansi, nullptr);
    if (converted == FENDREL_SUCCESS) *options = ansi.release();
    return code != FENDREL_SUCCESS ? code : converted;
  });
}

uint32_t WINAPI NRVFreeDestinationOptions(uint32_t context, DestinationOptionsA* options) noexcept {
  if (wide().convertsOptions()) return wide().freeAnsiOptions(context, options);
  return wide().freeOptions(context, reinterpret_cast<DestinationOptions*>(options));
}

uint32_t WINAPI NRVExportToDestination(FendrelJob job, const FendrelExportDescriptionA* files) noexcept {
  return guarded([&] {
    const WideExportDescription wideFiles(files);
    return wide().exportToDestination(wideJobOf(ansiJobs().find(job)), wideFiles.get());
  });
}

const char* WINAPI NRVGetErrorText(FendrelJob job) noexcept {
  const char* text = nullptr;
  guarded([&] {
    AnsiJob* const known = ansiJobs().find(job);
    if (!known) return std::uint32_t{FENDREL_SUCCESS};
    known->errorText.reset();
    known->errorText = ansiFromWide(wide().getErrorText(known->wideJob));
    text = known->errorText.get();
    return std::uint32_t{FENDREL_SUCCESS};
  });
  return text;
}

uint32_t WINAPI IsThreadSafe() noexcept { return wide().isThreadSafe(); }
uint32_t WINAPI InitPerThread() noexcept { return wide().initPerThread(); }
uint32_t WINAPI UninitPerThread() noexcept { return wide().uninitPerThread(); }
