// FENDREL.DLL, called only through its exports.
#pragma once

#include <fendrel/fendrel.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "data_protection.h"

namespace fendrel::host {

// Where and how to post files.
struct Destination {
  std::wstring profile, password;
  std::uint16_t type = FENDREL_REPORT_INSTANCE;
  std::wstring folderPath;  // empty for a personal report
  Bytes packed;             // if not empty: the packed record to use instead of the other fields
};

// The plug-in's result of one export.
struct ExportAnswer {
  std::uint32_t code = FENDREL_SUCCESS;
  std::wstring errorText;
  HRESULT meaning = S_OK;  // of a failure, as far as code and text determine it
  bool jobMade = false;    // false: the set-up failed
};

// The plug-in's result of a choice.
struct ChoiceAnswer {
  std::uint32_t code = FENDREL_SUCCESS;
  Bytes record;  // the packed record with all its strings
};

class Plugin {
 public:
  // Loads the library beside this program and starts it. Throws Failure(mapiUnusable).
  Plugin();
  ~Plugin();
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  // Posts all the files in one job. paths and names correspond.
  ExportAnswer exportFiles(const Destination& destination, std::span<const std::wstring> paths,
                           std::span<const std::wstring> names);

  // Lets the user choose profile and folder in the plug-in's dialogs.
  ChoiceAnswer choose();

  // The same destination as a packed record, after a logon without dialogs.
  ChoiceAnswer repack(const Destination& destination);

 private:
  ChoiceAnswer encodeJob(DestinationOptions* options);

  struct ModuleFree {
    void operator()(void* handle) const noexcept { FreeLibrary(static_cast<HMODULE>(handle)); }
  };
  struct Exports {
    decltype(&NRVInitializeW) initialize;
    decltype(&NRVTerminateW) terminate;
    decltype(&NRVGetVersionW) getVersion;
    decltype(&NRVInitExportDestinationW) initExport;
    decltype(&NRVTermExportDestinationW) termExport;
    decltype(&NRVExportToDestinationW) exportTo;
    decltype(&NRVGetErrorTextW) getErrorText;
    decltype(&NRVEncodeDestinationOptionsW) encode;
  };

  std::unique_ptr<void, ModuleFree> module_;
  Exports exports_{};
};

}  // namespace fendrel::host
