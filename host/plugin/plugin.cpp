#include "plugin.h"

#include <psapi.h>

#include <fmt/format.h>

#include <algorithm>

#include "failure.h"
#include "mapi_library.h"
#include "packed_options.h"
#include "paths.h"
#include "plugin_failure.h"
#include "text.h"

namespace fendrel::host {
namespace {

template <class F>
void findExport(HMODULE module, F& function, const char* name) {
  function = reinterpret_cast<F>(GetProcAddress(module, name));
  if (!function)
    throw failureOf(ExitCode::mapiUnusable, fmt::format("FENDREL.DLL has no {}", name),
                    HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND), "Install fendrel.exe and FENDREL.DLL of one release.");
}

std::wstring stringOf(HMODULE module, UINT id) {
  const wchar_t* text = nullptr;
  const int length = LoadStringW(module, id, reinterpret_cast<wchar_t*>(&text), 0);
  return length > 0 ? std::wstring(text, static_cast<std::size_t>(length)) : std::wstring();
}

// The language library that the plug-in has loaded from its folder, else the plug-in itself.
HMODULE textsOf(HMODULE plugin) {
  const std::wstring folder = programFolder() + L'\\';
  HMODULE modules[1024];
  DWORD bytes = 0;
  if (!K32EnumProcessModules(GetCurrentProcess(), modules, sizeof modules, &bytes)) return plugin;
  for (const HMODULE module : std::span(modules, std::min(sizeof modules, std::size_t{bytes}) / sizeof *modules)) {
    wchar_t path[MAX_PATH];
    const DWORD length = GetModuleFileNameW(module, path, MAX_PATH);
    if (length > folder.size() &&
        CompareStringOrdinal(path, static_cast<int>(folder.size()), folder.c_str(), static_cast<int>(folder.size()),
                             TRUE) == CSTR_EQUAL &&
        GetProcAddress(module, "GetResDllVersion"))
      return module;
  }
  return plugin;
}

// The plug-in's records for one export's files; they point into each other.
class FileList {
 public:
  FileList(std::span<const std::wstring> paths, std::span<const std::wstring> names) {
    descriptions_.resize(names.size());
    for (std::size_t index = 0; index < names.size(); ++index) {
      FendrelFileDescription& description = descriptions_[index];
      description.size = sizeof description;
      description.nameGiven = 1;
      description.givenName = names[index].c_str();
      descriptionPointers_.push_back(&description);
      pathPointers_.push_back(paths[index].c_str());
    }
    list.size = sizeof list;
    list.fileCount = static_cast<std::uint16_t>(names.size());
    list.files = descriptionPointers_.data();
    exported.size = sizeof exported;
    exported.fileCount = static_cast<std::uint16_t>(paths.size());
    exported.filePaths = pathPointers_.data();
  }
  FileList(const FileList&) = delete;
  FileList& operator=(const FileList&) = delete;

  FendrelFileList list{};
  FendrelExportDescription exported{};

 private:
  std::vector<FendrelFileDescription> descriptions_;
  std::vector<const FendrelFileDescription*> descriptionPointers_;
  std::vector<const wchar_t*> pathPointers_;
};

// The plug-in's record of a destination. The plug-in does not change it.
class OptionsRecord {
 public:
  explicit OptionsRecord(const Destination& destination) : packed_(destination.packed) {
    if (packed_.empty()) {
      unpacked_.profileName = const_cast<wchar_t*>(destination.profile.c_str());
      unpacked_.profilePassword = const_cast<wchar_t*>(destination.password.c_str());
      unpacked_.destinationType = destination.type;
      if (!destination.folderPath.empty()) unpacked_.folderPath = const_cast<wchar_t*>(destination.folderPath.c_str());
    }
    get()->version = FENDREL_OPTIONS_VERSION;
  }
  OptionsRecord(const OptionsRecord&) = delete;
  OptionsRecord& operator=(const OptionsRecord&) = delete;

  DestinationOptions* get() {
    return packed_.empty() ? &unpacked_ : reinterpret_cast<DestinationOptions*>(packed_.data());
  }

 private:
  Bytes packed_;
  DestinationOptions unpacked_{};
};

}  // namespace

Plugin::Plugin() {
  const std::wstring path = programFolder() + L"\\FENDREL.DLL";
  module_.reset(LoadLibraryW(path.c_str()));
  if (!module_)
    throw systemFailure(ExitCode::mapiUnusable, fmt::format("The plug-in '{}' did not load", toUtf8(path)),
                        GetLastError(), "Put FENDREL.DLL beside fendrel.exe.");
  const auto handle = static_cast<HMODULE>(module_.get());
  findExport(handle, exports_.initialize, "NRVInitializeW");
  findExport(handle, exports_.terminate, "NRVTerminateW");
  findExport(handle, exports_.getVersion, "NRVGetVersionW");
  findExport(handle, exports_.initExport, "NRVInitExportDestinationW");
  findExport(handle, exports_.termExport, "NRVTermExportDestinationW");
  findExport(handle, exports_.exportTo, "NRVExportToDestinationW");
  findExport(handle, exports_.getErrorText, "NRVGetErrorTextW");
  findExport(handle, exports_.encode, "NRVEncodeDestinationOptionsW");
  if (const unsigned version = exports_.getVersion(); version != FENDREL_VERSION)
    throw Failure(ExitCode::mapiUnusable,
                  fmt::format("FENDREL.DLL speaks version 0x{:04X} of the interface, fendrel.exe speaks 0x{:04X}. "
                              "Install both of one release.",
                              version, FENDREL_VERSION));
  if (const std::uint32_t code = exports_.initialize(); code != FENDREL_SUCCESS)
    throw Failure(ExitCode::mapiUnusable,
                  fmt::format("The plug-in did not start, its code is {}: {}.", static_cast<std::int32_t>(code),
                              code == FENDREL_STRING_NOT_LOADED ? "one of its texts is missing"
                              : code == FENDREL_OUT_OF_MEMORY   ? "not enough memory"
                                                                : "it cannot use MAPI32.DLL"));
  try {
    checkMapiIsTheOne();
  } catch (...) {
    exports_.terminate();
    throw;
  }
}

Plugin::~Plugin() { exports_.terminate(); }

ExportAnswer Plugin::exportFiles(const Destination& destination, std::span<const std::wstring> paths,
                                 std::span<const std::wstring> names) {
  OptionsRecord options(destination);
  FileList files(paths, names);
  FendrelJob job = 0;
  FendrelResult* result = nullptr;
  ExportAnswer answer;
  answer.code = exports_.initExport(nullptr, 0, options.get(), &files.list, &job, &result);
  if (answer.code == FENDREL_SUCCESS) {
    answer.jobMade = true;
    answer.code = exports_.exportTo(job, &files.exported);
    if (answer.code != FENDREL_SUCCESS)
      if (const wchar_t* text = exports_.getErrorText(job)) answer.errorText = text;
    exports_.termExport(job);
  }
  answer.meaning =
      pluginFailure(answer.code, answer.errorText,
                    [texts = textsOf(static_cast<HMODULE>(module_.get()))](UINT id) { return stringOf(texts, id); });
  return answer;
}

ChoiceAnswer Plugin::choose() { return encodeJob(nullptr); }

ChoiceAnswer Plugin::repack(const Destination& destination) { return encodeJob(OptionsRecord(destination).get()); }

ChoiceAnswer Plugin::encodeJob(DestinationOptions* options) {
  FileList noFiles({}, {});
  FendrelJob job = 0;
  FendrelResult* result = nullptr;
  ChoiceAnswer answer;
  answer.code = exports_.initExport(nullptr, 0, options, &noFiles.list, &job, &result);
  if (answer.code != FENDREL_SUCCESS) return answer;
  DestinationOptions* block = nullptr;
  std::uint16_t size = 0;
  answer.code = exports_.encode(job, &block, &size);
  if (answer.code == FENDREL_SUCCESS) {
    const auto* const start = reinterpret_cast<const std::byte*>(block);
    answer.record.assign(start, start + size + packedSizeShortfall);
  }
  exports_.termExport(job);
  return answer;
}

}  // namespace fendrel::host
