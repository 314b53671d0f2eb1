#include "examination.h"

#include <fmt/format.h>

#include <server_examination.h>
#include <status_codes.h>

#include "console.h"
#include "file_facts.h"
#include "file_handle.h"
#include "folder_path.h"
#include "mail_client.h"
#include "mapi_library.h"
#include "paths.h"
#include "store_files.h"
#include "target.h"
#include "text.h"

namespace fendrel::host {
namespace {

// Less room is too small for any report.
constexpr std::uint64_t leastRoom = 4096;

std::string shown(const std::wstring& path) { return "'" + printable(displayPath(path)) + "'"; }

Failure failureOf(const store::StatusFailure& failure) {
  using store::Status;
  const HRESULT code = store::toResult(failure.status());
  const ExitCode exit = failure.status() == Status::NoAccess ? ExitCode::folderRefused
                        : failure.status() == Status::Failed ? ExitCode::failed
                                                             : ExitCode::mapiUnusable;
  return Failure(exit, fmt::format("{} ({})", failure.what(), errorName(code)), code);
}

class Examination {
 public:
  Examination(CommandContext& running, const DoctorOrder& what, const std::function<void(const DoctorFinding&)>& use)
      : context_(running), order_(what), tell_(use), isLocal_(context_.options.mapi != "system") {}

  void run() {
    const bool mapiWorks = step("MAPI library", [&] { return lookAtLibrary(); }) &&
                           step("Exports", [&] { return lookAtExports(); }) &&
                           step("Initialise", [&] { return initialise(); });
    const bool storeThere = !isLocal_ || !mapiWorks || step("Local store", [&] { return lookAtStore(); });
    if (mapiWorks && storeThere && step("Profiles", [&] { return lookAtProfiles(); }) && lookAtServer() &&
        step("Logon", [&] { return logOn(); })) {
      step("Stores", [&] { return lookAtStores(); });
      if (!order_.to.empty() && step("Target folder", [&] { return openFolder(); })) {
        step("Right to post", [&] { return tryToCreate(); });
        step("Names", [&] { return lookAtNames(); });
      }
      if (server_) {
        step("Quota", [&] { return lookAtQuota(); });
        step("Upload limit", [&] { return tellLargestUpload(); });
      }
    }
    step("Languages", [&] { return lookAtLanguages(); });
    if (isLocal_ && mapiWorks && storeThere) step("Store check", [&] { return checkStore(); });
    step("Versions", [&] { return tellVersions(); });
  }

 private:
  // A step returns the text of its tick, or throws the Failure of its cross.
  template <class Look>
  bool step(const char* what, Look look) {
    try {
      tell_({what, true, look(), ExitCode::done, nullptr});
      return true;
    } catch (const Failure& failure) {
      return cross(what, failure);
    } catch (const store::StatusFailure& problem) {
      return cross(what, failureOf(problem));
    }
  }
  bool cross(const char* what, const Failure& failure) {
    tell_({what, false, failure.what(), failure.exitCode(), jsonError(failure)});
    return false;
  }

  static Failure unusable(const std::string& words) { return Failure(ExitCode::mapiUnusable, words); }

  std::string lookAtLibrary() {
    if (isLocal_) {
      library_ = programFolder() + L"\\store\\MAPI32.DLL";
      if (!fileExists(library_))
        throw unusable(
            fmt::format("The local store {} is missing. Install fendrel completely, or use the system's "
                        "MAPI with --mapi system.",
                        shown(library_)));
      return fmt::format("{}, {}, the local store", shown(library_), bitsOfLibrary(library_));
    }
    return lookAtMailClient();
  }

  static std::string bitsOfLibrary(const std::wstring& file) {
    const Bits bits = bitsOf(file);
    if (bits != Bits::bits64)
      throw unusable(fmt::format("{} is {}, and fendrel is a 64-bit program. Install the 64-bit form.", shown(file),
                                 bitsWords(bits)));
    return bitsWords(bits);
  }

  std::string lookAtMailClient() {
    library_ = L"MAPI32.DLL";
    if (GetModuleHandleW(library_.c_str())) return "MAPI32.DLL is loaded in this process already";
    const DefaultClient client = defaultClient();
    if (!client.library.empty()) {
      if (!fileExists(client.library))
        throw unusable(fmt::format("The default mail program '{}' names {}, which is missing. Repair that program.",
                                   printable(client.name), shown(client.library)));
      return fmt::format("{}, {}, of the default mail program '{}'", shown(client.library),
                         bitsOfLibrary(client.library), printable(client.name));
    }
    const DefaultClient narrow = defaultClient(ClientView::bits32);
    if (!narrow.library.empty())
      throw unusable(
          fmt::format("The only mail program is '{}' with {}, which is for 32-bit programs, and fendrel is a "
                      "64-bit one. Install its 64-bit form, or use --mapi local.",
                      printable(narrow.name), shown(narrow.library)));
    if (client.name.empty())
      throw unusable(
          "The registry names no default mail program. Install one that offers Extended MAPI, or use --mapi "
          "local.");
    throw unusable(
        fmt::format("The default mail program '{}' offers no Extended MAPI. Install one that does, or use "
                    "--mapi local.",
                    printable(client.name)));
  }

  std::string lookAtExports() {
    const HMODULE module = LoadLibraryW(library_.c_str());
    if (!module)
      throw systemFailure(ExitCode::mapiUnusable, fmt::format("{} did not load", shown(library_)), GetLastError());
    const std::vector<std::string> missing = missingMapiFunctions(module);
    if (missing.empty()) return "all there";
    std::string names;
    for (const std::string& name : missing) names += (names.empty() ? "" : ", ") + name;
    throw unusable(fmt::format("{} has no {}. It is not a complete Extended MAPI; use --mapi local, or install one.",
                               shown(library_), names));
  }

  std::string initialise() {
    loadMapi(isLocal_ ? MapiSubsystem::local : MapiSubsystem::system);
    const MapiStart start;
    return "MAPI started";
  }

  std::string lookAtStore() {
    place_ = storePlace(context_);
    if (!fileExists(place_))
      throw Failure(ExitCode::mapiUnusable,
                    fmt::format("There is no store yet; it would be {}. Make it with: fendrel profile add NAME --user "
                                "\"Your Name\"",
                                shown(place_)),
                    MAPI_E_NOT_FOUND);
    if (!looksLikeStore(place_)) throw noStore(place_);
    const store::StoreFacts facts = maintain([&] { return store::readStoreFacts(place_); });
    const std::wstring folder = place_.substr(0, place_.find_last_of(L"\\/"));
    ULARGE_INTEGER free{};
    GetDiskFreeSpaceExW(longPath(folder).c_str(), &free, nullptr, nullptr);
    const std::string owner = ownerOf(place_);
    return fmt::format("{}, {} and {} of contents, {} free on its disk{}", shown(place_),
                       shortSize(facts.databaseBytes + facts.logBytes), shortSize(facts.contentFileBytes),
                       shortSize(free.QuadPart), owner.empty() ? "" : ", owner " + printable(owner));
  }

  std::string lookAtProfiles() {
    std::vector<ProfileEntry> profiles;
    try {
      profiles = context_.profiles().list();
    } catch (const Failure& failure) {
      // Some systems log on to a given profile but cannot list profiles.
      if (failure.code() != MAPI_E_NO_SUPPORT || context_.options.profile.empty()) throw;
      return fmt::format("'{}' is used; this MAPI lists none", printable(context_.options.profile));
    }
    const std::wstring chosen = chooseProfile(profiles, toWide(context_.options.profile));
    if (isLocal_) server_ = store::ServerExamination::of(chosen, context_.password(), cancelRequested);
    return fmt::format("{}; '{}' is used", counted(profiles.size(), "profile"), printable(chosen));
  }

  // For a profile of the local store there is nothing to check or report.
  bool lookAtServer() {
    using store::ServerExamination;
    const auto look = [&](const char* what, std::string (ServerExamination::*at)()) {
      return step(what, [&] { return printable((*server_.*at)()); });
    };
    return !server_ || (look("Server name", &ServerExamination::lookAtName) &&
                        look("Connection", &ServerExamination::lookAtConnection) &&
                        look("Certificate", &ServerExamination::lookAtCertificate) &&
                        look("Session", &ServerExamination::lookAtSession) &&
                        look("Capabilities", &ServerExamination::lookAtCapabilities) &&
                        look("Accounts", &ServerExamination::lookAtAccounts));
  }

  std::string logOn() { return fmt::format("'{}' is logged on", printable(context_.session().profile())); }

  std::string lookAtStores() {
    Session& session = context_.session();
    std::string names;
    const std::vector<StoreEntry> stores = session.stores();
    if (stores.empty()) throw unusable("The profile has no message store. Add one in the mail program's settings.");
    for (const StoreEntry& entry : stores) {
      session.openTop(*session.openStore(entry, false).Get(), entry.name);
      names += fmt::format("{}'{}'{}", names.empty() ? "" : ", ", printable(entry.name),
                           entry.isDefault ? " (default)" : "");
    }
    return names;
  }

  std::string openFolder() {
    target_ = openTarget(context_, {.to = order_.to, .create = order_.create, .lookOnly = true});
    return target_.missing ? fmt::format("'{}' would be made", printable(target_.path))
                           : fmt::format("'{}' is there", printable(target_.path));
  }

  // Creates a message and does not save it, so that it never exists.
  std::string tryToCreate() {
    if (target_.missing) return "not known before the folder is made";
    const OpenFolder folder = context_.session().walkToChange(target_.path);
    ComPtr<IMessage> message;
    const HRESULT code = folder.folder->CreateMessage(nullptr, 0, &message);
    check(code, folderExitCode(code), fmt::format("No message can be made in '{}'", printable(target_.path)));
    return "messages can be made there";
  }

  std::string lookAtNames() {
    for (const std::wstring& name : target_.folder.names) checkPostableName(name);
    return fmt::format("all in this system's code page {}", GetACP());
  }

  std::string lookAtQuota() {
    const std::wstring store = target_.folder.names.empty() ? std::wstring() : target_.folder.names.front();
    const auto quota = server_->quotaOf(store);
    if (!quota) return "the server tells no limit";
    const std::string words = fmt::format("{} of {} are used", shortSize(quota->used), shortSize(quota->limit));
    if (quota->limit < quota->used + leastRoom)
      throw Failure(ExitCode::failed,
                    fmt::format("The account is full: {} ({}). Delete messages there, or ask the server's "
                                "administrator for room.",
                                words, errorName(MAPI_E_NOT_ENOUGH_DISK)),
                    MAPI_E_NOT_ENOUGH_DISK);
    return words;
  }

  std::string tellLargestUpload() {
    const std::uint64_t largest = server_->largestUpload();
    return largest == 0 ? "the server tells none" : fmt::format("{} a message, encoded", shortSize(largest));
  }

  // Of the plug-in's dialogs; all are optional.
  std::string lookAtLanguages() {
    std::string found;
    WIN32_FIND_DATAW entry;
    if (const FindHandle search = findFirst(programFolder() + L"\\R7Kqe*.dll", entry)) {
      do {
        const HMODULE module = LoadLibraryW((programFolder() + L'\\' + entry.cFileName).c_str());
        const bool isOne = module && GetProcAddress(module, "GetResDllVersion");
        if (module) FreeLibrary(module);
        if (!isOne)
          throw Failure(
              ExitCode::failed,
              fmt::format("'{}' beside fendrel.exe is not a language library. Install it again, or remove it.",
                          printable(std::wstring_view(entry.cFileName))));
        found += (found.empty() ? "" : ", ") + printable(std::wstring_view(entry.cFileName));
      } while (FindNextFileW(search.get(), &entry));
    }
    return found.empty() ? "none installed, dialogs are in English" : found;
  }

  std::string checkStore() {
    const store::CheckResult result =
        maintain([&] { return store::checkStore(place_, [](std::uint64_t, std::uint64_t) { return true; }); });
    if (result.damage.empty())
      return fmt::format("{} and {} of content without damage", counted(result.messages, "message"),
                         shortSize(result.contentBytes));
    throw Failure(ExitCode::damageFound,
                  fmt::format("{} found in {}. Keep it; \"fendrel store check\" reports the damage, and \"fendrel "
                              "store salvage\" recovers undamaged messages.",
                              counted(result.damage.size(), "problem"), shown(place_)),
                  MAPI_E_CORRUPT_DATA);
  }

  std::string tellVersions() {
    const std::wstring plugin = programFolder() + L"\\FENDREL.DLL";
    if (!fileExists(plugin))
      throw unusable(fmt::format("The plug-in {} is missing. Put FENDREL.DLL beside fendrel.exe.", shown(plugin)));
    std::string words = fmt::format("fendrel.exe {}, FENDREL.DLL {}", FENDREL_RELEASE, versionOf(plugin));
    if (!mapiPath().empty()) {
      const std::string version = versionOf(mapiPath());
      words += ", MAPI32.DLL " + (version.empty() ? std::string("without a version") : version);
    }
    return words;
  }

  CommandContext& context_;
  const DoctorOrder& order_;
  const std::function<void(const DoctorFinding&)>& tell_;
  const bool isLocal_;
  std::wstring library_, place_;
  Target target_;
  std::unique_ptr<store::ServerExamination> server_;
};

}  // namespace

void examine(CommandContext& context, const DoctorOrder& order, const std::function<void(const DoctorFinding&)>& use) {
  Examination(context, order, use).run();
}

}  // namespace fendrel::host
