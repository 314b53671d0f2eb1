#include "target.h"

#include <fmt/format.h>

#include "folder_path.h"
#include "kept_choice.h"
#include "posting_kind.h"
#include "text.h"

namespace fendrel::host {
namespace {

// Passes the saved record to the plug-in unchanged, unless it lacks the password given now.
void takeKeptChoice(CommandContext& context, const std::string& file, Destination& destination) {
  const KeptChoice choice = KeptChoice::load(file);
  destination.type = choice.type();
  destination.folderPath = choice.folderPath();
  context.options.profile = toUtf8(choice.profile());
  const bool passwordGiven = !context.password().empty();
  if (choice.password()) context.options.password = toUtf8(*choice.password());
  if (choice.password() || !passwordGiven) destination.packed = choice.record();
}

// True if the path begins with a store of the profile, so that the folders below it can be created.
bool hasStore(Session& session, const std::wstring& path) {
  std::vector<std::wstring> names;
  for (const StoreEntry& store : session.stores()) names.push_back(store.name);
  return matchFront(path, names).has_value();
}

void openFolderOf(Session& session, const TargetChoice& choice, Target& target) {
  const std::wstring path = target.destination.folderPath;
  try {
    target.folder = session.walk(path, choice.create && !choice.lookOnly, &target.created);
  } catch (const Failure& failure) {
    if (!choice.create || !choice.lookOnly || failure.code() != MAPI_E_NOT_FOUND || !hasStore(session, path)) throw;
    target.missing = true;
    target.path = path;
    return;
  }
  target.path = target.folder.path;
  for (const std::wstring& name : target.folder.names) checkPostableName(name);
}

}  // namespace

Target openTarget(CommandContext& context, const TargetChoice& choice) {
  Target target;
  Destination& destination = target.destination;
  if (!choice.savedChoice.empty()) {
    takeKeptChoice(context, choice.savedChoice, destination);
  } else if (choice.personal) {
    destination.type = FENDREL_PERSONAL_REPORT;
  } else {
    destination.type = choice.type == "folder" ? FENDREL_FOLDER_REPORT : FENDREL_REPORT_INSTANCE;
    destination.folderPath = toWide(choice.to);
  }
  Session& session = context.session();
  if (postingRules(destination.type).intoCommonViews) {
    target.folder = session.personalReports();
    target.path = target.folder.path;
    destination.folderPath.clear();
  } else {
    openFolderOf(session, choice, target);
    destination.folderPath = target.path;
  }
  destination.profile = session.profile();
  destination.password = context.password();
  return target;
}

void checkPostableName(const std::wstring& name) {
  if (name.size() > longestName)
    throw Failure(ExitCode::folderRefused,
                  fmt::format("The name '{}' has {} characters, and reports can be posted to names of at most {}. "
                              "Choose another folder, or rename it.",
                              printable(name), name.size(), longestName));
  if (!fitsAnsi(name))
    throw Failure(ExitCode::folderRefused,
                  fmt::format("The name '{}' has characters that this system's code page {} does not know, so "
                              "reports cannot be posted there. Choose another folder, or rename it.",
                              printable(name), GetACP()));
}

}  // namespace fendrel::host
