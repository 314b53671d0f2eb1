#include "job_set_up.h"

#include <cwchar>

#include "destination_options.h"
#include "mapi_container_dlg.h"
#include "path_parts.h"
#include "posting_kind.h"
#include "report_names.h"
#include "resource_module.h"

namespace fendrel {
namespace {

std::optional<std::wstring> copyOf(const wchar_t* text) {
  if (!text) return std::nullopt;
  return std::wstring(text);
}

// Takes the destination of a checked record into the job. 0, 2 or 5.
std::uint32_t takeDestination(const OptionsCopy<DestinationOptions>& options, Destination& destination) {
  // An unpacked record must name profile and password; otherwise the result is that of a failed allocation.
  if (!options.isPacked() && (!options.profileName() || !options.profilePassword())) return FENDREL_OUT_OF_MEMORY;
  destination.profileName = copyOf(options.profileName());
  destination.profilePassword = copyOf(options.profilePassword());
  destination.folderPath = copyOf(options.folderPath());
  destination.type = options.header().destinationType;
  return FENDREL_SUCCESS;
}

std::uint32_t logOnSilently(ExportJob& job) {
  if (!job.destination.profileName) return FENDREL_OUT_OF_MEMORY;
  // The logon first clears the job's profile name.
  const std::wstring profileName = *job.destination.profileName;
  const auto& password = job.destination.profilePassword;
  return Logon(job, profileName.c_str(), password ? password->c_str() : nullptr);
}

// Restores a version that a check has replaced by 1.
class VersionRestorer {
 public:
  VersionRestorer(DestinationOptions& options, std::uint16_t version) noexcept : options_(options), version_(version) {}
  ~VersionRestorer() { options_.version = version_; }
  VersionRestorer(const VersionRestorer&) = delete;
  VersionRestorer& operator=(const VersionRestorer&) = delete;

 private:
  DestinationOptions& options_;
  std::uint16_t version_;
};

std::uint32_t setUpSilently(ExportJob& job, DestinationOptions& options) {
  const std::uint16_t version = options.version;
  if (!CheckOptionsVersion(&options)) return FENDREL_INVALID_ARGUMENT;
  OptionsCopy<DestinationOptions> copy;
  std::uint32_t code = copy.take(options);
  if (code == FENDREL_OUT_OF_MEMORY) return code;  // leaves the caller's version at 1, as hosts expect
  const VersionRestorer restorer(options, version);
  if (code != FENDREL_SUCCESS) return code;
  job.optionsSupplied = true;
  if (code = takeDestination(copy, job.destination); code != FENDREL_SUCCESS) return code;
  return logOnSilently(job);
}

// The scan has no effect on the destination: an interactive export is always a report instance.
void scanForReports(const std::vector<std::wstring>& fileNames) noexcept {
  for (const std::wstring& name : fileNames)
    if (const auto extension = extensionOf(std::wstring_view(name));
        extension.size() != 3 || _wcsnicmp(extension.data(), L"RPT", 3) != 0)
      return;
}

// Shows the folders of the job's session and takes the path of the chosen one. 0, 2 or 6.
std::uint32_t chooseFolder(ExportJob& job) {
  CMAPIContainerDlg dialog(g_hResInstance);
  const auto& profileName = job.destination.profileName;
  if (!dialog.DoModal(job.parentWindow, job.session.Get(), profileName ? profileName->c_str() : nullptr))
    return FENDREL_CANCELLED;
  if (!dialog.m_pszFolderPath) return FENDREL_OUT_OF_MEMORY;
  job.destination.folderPath = dialog.m_pszFolderPath.get();
  dialog.ReleaseFolderPath();
  return FENDREL_SUCCESS;
}

// Always a report instance (docs/compatibility.md). The branches for the other types are unreachable today.
std::uint32_t setUpInteractively(ExportJob& job) {
  scanForReports(job.fileNames);
  job.destination.type = FENDREL_REPORT_INSTANCE;
  if (const auto code = Logon(job, nullptr, nullptr); code != FENDREL_SUCCESS) return code;
  const PostingRules rules = postingRules(job.destination.type);
  if (rules.intoCommonViews) {
    job.destination.folderPath.reset();
    return FENDREL_SUCCESS;
  }
  if (!rules.isKnown) return FENDREL_CANCELLED;
  return chooseFolder(job);
}

}  // namespace

std::uint32_t setUpJob(HWND parentWindow, DestinationOptions* options, const FendrelFileList& files,
                       std::unique_ptr<ExportJob>& job) {
  auto made = std::make_unique<ExportJob>();
  made->parentWindow = parentWindow;
  made->fileNames.reserve(files.fileCount);
  for (std::uint16_t file = 0; file < files.fileCount; ++file) made->fileNames.push_back(reportName(files.files[file]));
  const auto code = options ? setUpSilently(*made, *options) : setUpInteractively(*made);
  if (code == FENDREL_SUCCESS) job = std::move(made);
  return code;
}

}  // namespace fendrel
