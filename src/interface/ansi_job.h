// The record that a job handle of the ANSI set names: the wide job, and what the host got from it.
#pragma once

#include <memory>

#include "ansi_records.h"
#include "handle_table.h"
#include "wide_entry_points.h"

namespace fendrel {

// Frees wide or ANSI options with the free function of their form, which gets the job's context.
struct FreeWideOptions {
  std::uint32_t context;
  void operator()(DestinationOptions* options) const noexcept { wide().freeOptions(context, options); }
};
using WideOptions = std::unique_ptr<DestinationOptions, FreeWideOptions>;

struct FreeAnsiOptions {
  std::uint32_t context;
  void operator()(DestinationOptionsA* options) const noexcept { wide().freeAnsiOptions(context, options); }
};
using AnsiOptions = std::unique_ptr<DestinationOptionsA, FreeAnsiOptions>;

struct AnsiJob {
  explicit AnsiJob(std::uint32_t hostContext) noexcept
      : context(hostContext), encodedOptions(nullptr, FreeAnsiOptions{hostContext}) {}

  std::uint32_t context;
  FendrelJob wideJob = 0;
  std::unique_ptr<AnsiResult> result;
  HeapAnsiText errorText;      // the last one returned
  AnsiOptions encodedOptions;  // likewise
};

// The ANSI set's jobs.
HandleTable<AnsiJob>& ansiJobs() noexcept;

}  // namespace fendrel
