// Makes an export job and gives it its destination.
#pragma once

#include <memory>

#include "export_job.h"

namespace fendrel {

// Makes a job with a report name for every file of the list and logs it on, silently with `options`, else with dialogs.
// On failure `job` is empty. 0, 2, 3, 5, 6 or FENDREL_FAILED.
std::uint32_t setUpJob(HWND parentWindow, DestinationOptions* options, const FendrelFileList& files,
                       std::unique_ptr<ExportJob>& job);

}  // namespace fendrel
