// fendrel mapi: registers the local store as the MAPI of this machine's programs.
#include <fmt/format.h>

#include <memory>

#include "commands.h"
#include "mail_client.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct RegisterOptions {
  std::string scope = "any";
  bool force = false;
};

constexpr ClientScope bothScopes[] = {ClientScope::machine, ClientScope::user};

const char* scopeName(ClientScope scope) { return scope == ClientScope::machine ? "machine" : "user"; }

std::wstring ownLibrary() { return programFolder() + L"\\store\\MAPI32.DLL"; }

void refuseOthers(const RegisterOptions& options) {
  const std::wstring present = defaultClient().name;
  if (options.force || present.empty() || isOurs({present, {}})) return;
  throw Failure(ExitCode::failed,
                fmt::format("'{}' is the mail program here. Use --force to take its place; \"fendrel mapi unregister\" "
                            "gives it back.",
                            printable(present)));
}

ExitCode registerMapi(CommandContext& context, const RegisterOptions& options) {
  const std::wstring library = ownLibrary();
  if (!fileExists(library))
    throw Failure(ExitCode::mapiUnusable,
                  fmt::format("'{}' is not there. Install fendrel completely.", toUtf8(library)));
  refuseOthers(options);
  for (const ClientScope scope : bothScopes) {
    if (options.scope != "any" && options.scope != scopeName(scope)) continue;
    if (!registerClient(scope, library)) continue;
    const bool isActive = isOurs({defaultClient().name, {}});
    context.line(fmt::format("'{}' is registered for {}.", printable(library),
                             scope == ClientScope::machine ? "all users" : "this user"));
    if (!isActive)
      context.line("This user has chosen another mail program, which takes precedence over the machine's.");
    context.document({{"registered", scopeName(scope)}, {"library", toUtf8(library)}, {"active", isActive}});
    return ExitCode::done;
  }
  throw Failure(ExitCode::failed,
                "This user may not register mail programs for the machine. Start fendrel as an "
                "administrator, or use --for user.");
}

ExitCode unregisterMapi(CommandContext& context) {
  Json taken = Json::array(), refused = Json::array();
  for (const ClientScope scope : bothScopes) {
    const ClientEntry entry = readClient(scope);
    if (!entry.library && !isOurs(entry)) continue;
    (unregisterClient(scope) ? taken : refused).push_back(scopeName(scope));
  }
  if (!refused.empty())
    throw Failure(ExitCode::failed, "The registration for the machine stays: start fendrel as an administrator.");
  context.document({{"unregistered", taken}});
  const std::wstring present = defaultClient().name;
  if (taken.empty())
    context.line("Nothing was registered.");
  else if (present.empty())
    context.line("The registration is taken away.");
  else
    context.line(fmt::format("The registration is taken away; the mail program is '{}'.", printable(present)));
  return ExitCode::done;
}

ExitCode showStatus(CommandContext& context) {
  Json document;
  for (const ClientScope scope : bothScopes) {
    const ClientEntry entry = readClient(scope);
    const bool isThere = entry.library && fileExists(*entry.library);
    const bool isSet = !entry.defaultClient.empty();
    context.line(fmt::format("{}: the mail program is {}{}{}.", scope == ClientScope::machine ? "Machine" : "User",
                             isSet ? "'" + printable(entry.defaultClient) + "'" : "not set",
                             entry.library ? "; fendrel is registered with '" + printable(*entry.library) + "'" : "",
                             entry.library && !isThere ? ", which is not there" : ""));
    document[scopeName(scope)] = {
        {"default", entry.defaultClient.empty() ? Json(nullptr) : Json(toUtf8(entry.defaultClient))},
        {"library", entry.library ? Json(toUtf8(*entry.library)) : Json(nullptr)},
        {"libraryIsThere", isThere}};
  }
  const bool isActive = isOurs({defaultClient().name, {}});
  context.line(isActive ? "Programs that load MAPI32.DLL get the local store."
                        : "Programs that load MAPI32.DLL do not get the local store.");
  document["active"] = isActive;
  context.document(document);
  return ExitCode::done;
}

}  // namespace

void addMapiCommand(CLI::App& app, CommandContext& context) {
  CLI::App* mapi = app.add_subcommand("mapi", "Make the local store the MAPI of this machine's programs");
  mapi->require_subcommand(1);

  const auto options = std::make_shared<RegisterOptions>();
  CLI::App* add = mapi->add_subcommand("register", "Register the local store as the mail program's MAPI");
  add->add_option("--for", options->scope,
                  "machine: for all users, which requires an administrator; user: for this one; without it the machine "
                  "if that is allowed, else this user")
      ->check(CLI::IsMember({"machine", "user"}))
      ->type_name("WHOM");
  add->add_flag("--force", options->force, "Replace another default mail program");
  add->callback(
      [&context, options] { context.command = [options](CommandContext& on) { return registerMapi(on, *options); }; });

  CLI::App* remove =
      mapi->add_subcommand("unregister", "Remove the registration and restore the previous mail program");
  remove->callback([&context] { context.command = unregisterMapi; });

  CLI::App* status = mapi->add_subcommand("status", "Show what is registered, for the machine and for this user");
  status->callback([&context] { context.command = showStatus; });
}

}  // namespace fendrel::host
