// fendrel profile: manages MAPI profiles.
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "commands.h"
#include "console.h"
#include "password_input.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct AddOptions {
  std::string name, user;
  std::string server, publicAccount, tlsCaFile;
  bool isToken = false;
  bool makeDefault = false;
};

bool sameName(const std::wstring& one, const std::wstring& other) {
  return CompareStringOrdinal(one.c_str(), -1, other.c_str(), -1, TRUE) == CSTR_EQUAL;
}

bool exists(Profiles& profiles, const std::wstring& name) {
  return std::ranges::any_of(profiles.list(), [&](const ProfileEntry& each) { return sameName(each.name, name); });
}

void checkName(const std::string& what, const std::string& given) {
  if (!isPlainName(toWide(given)))
    throw Failure(ExitCode::wrongUsage,
                  fmt::format("{} '{}' is blank, or holds control characters.", what, printable(given)));
}

// The password or token for the mail server.
std::wstring serverSecret(CommandContext& context, const AddOptions& options) {
  std::wstring secret = context.password();
  if (secret.empty() && inputIsTerminal())
    secret =
        toWide(askForPassword(options.isToken ? "Token: " : fmt::format("Password of {}: ", printable(options.user))));
  if (secret.empty())
    throw Failure(ExitCode::wrongUsage,
                  "Which password? Give --password-file or --password-command, or set FENDREL_PASSWORD.");
  return secret;
}

ServerProfile serverOf(const AddOptions& options) {
  if (options.user.empty()) throw Failure(ExitCode::wrongUsage, "Who signs in to the mail server? Give --user NAME.");
  ServerProfile server{toWide(options.server),
                       options.isToken ? std::wstring() : toWide(options.user),
                       toWide(options.publicAccount),
                       {}};
  if (!options.tlsCaFile.empty()) {
    server.tlsCaFile = fullPath(options.tlsCaFile);
    if (!fileExists(server.tlsCaFile))
      throw Failure(ExitCode::wrongUsage, fmt::format("There is no file '{}'.", printable(options.tlsCaFile)));
  }
  return server;
}

ExitCode addProfile(CommandContext& context, const AddOptions& options) {
  const std::wstring name = toWide(options.name);
  if (name.empty()) throw Failure(ExitCode::wrongUsage, "The profile's name is empty.");
  checkName("The profile's name", options.name);
  if (!options.user.empty()) checkName("The user's name", options.user);
  Profiles& profiles = context.profiles();
  if (exists(profiles, name))
    throw Failure(ExitCode::failed, fmt::format("Profile '{}' exists already. Choose another name, or remove it first, "
                                                "which keeps its messages, with: fendrel profile remove \"{}\"",
                                                printable(options.name), printable(options.name)));
  const bool isOnServer = !options.server.empty();
  const std::wstring password = isOnServer ? std::wstring() : context.password();
  const ServerProfile server = isOnServer ? serverOf(options) : ServerProfile();
  const std::wstring secret = isOnServer ? serverSecret(context, options) : std::wstring();
  profiles.add(name, password);
  try {
    if (!options.user.empty()) profiles.setUserName(name, password, toWide(options.user));
    if (isOnServer) profiles.setServer(name, server, secret);
    if (options.makeDefault) profiles.makeDefault(name);
  } catch (...) {
    profiles.remove(name, password, false);  // do not leave an incomplete profile
    throw;
  }
  context.line(fmt::format("Profile '{}' was made{}.", printable(options.name),
                           options.makeDefault ? " and is the default" : ""));
  context.document({{"profile", options.name},
                    {"user", options.user.empty() ? Json(nullptr) : Json(options.user)},
                    {"server", isOnServer ? Json(options.server) : Json(nullptr)},
                    {"default", options.makeDefault}});
  return ExitCode::done;
}

ExitCode listProfiles(CommandContext& context) {
  const std::vector<ProfileEntry> found = context.knownProfiles();
  std::size_t width = 0;
  for (const ProfileEntry& profile : found) width = std::max(width, displayWidth(printable(profile.name)));
  Json list = Json::array();
  for (const ProfileEntry& profile : found) {
    const std::optional<std::wstring> user = context.profiles().userName(profile.name, context.password());
    const std::optional<ServerProfile> server = context.profiles().server(profile.name, context.password());
    context.line(fmt::format("{}  {}{}{}", padded(printable(profile.name), width), user ? printable(*user) : "-",
                             server ? "  " + printable(server->url) : "", profile.isDefault ? "  (default)" : ""));
    list.push_back({{"name", toUtf8(profile.name)},
                    {"user", user ? Json(toUtf8(*user)) : Json(nullptr)},
                    {"server", server ? Json(toUtf8(server->url)) : Json(nullptr)},
                    {"default", profile.isDefault}});
  }
  if (found.empty())
    context.line("There is no profile yet. Make one with: fendrel profile add NAME --user \"Your Name\"");
  context.document({{"profiles", list}});
  return ExitCode::done;
}

struct RemoveOptions {
  std::string name;
  bool withMessages = false;
};

// The profile that the command names.
std::wstring namedProfile(CommandContext& context, const std::string& name) {
  if (name.empty()) throw Failure(ExitCode::wrongUsage, "The profile's name is empty.");
  return chooseProfile(context.knownProfiles(), toWide(name));
}

// Ordinary and hidden messages of the profile's own store.
std::uint64_t messagesOfMailbox(const std::wstring& profile, const std::wstring& password) {
  Session session(profile, password);
  for (const StoreEntry& store : session.stores())
    if (store.isDefault) return session.countMessages(store);
  return 0;
}

ExitCode removeProfile(CommandContext& context, const RemoveOptions& options) {
  const std::wstring name = namedProfile(context, options.name);
  Profiles& profiles = context.profiles();
  const bool isOnServer = profiles.server(name, context.password()).has_value();
  if (isOnServer && options.withMessages)
    throw Failure(ExitCode::wrongUsage,
                  fmt::format("The messages of profile '{}' are on a mail server, which keeps them; delete them there, "
                              "or with \"fendrel delete\".",
                              printable(name)));
  const std::uint64_t messages = options.withMessages ? messagesOfMailbox(name, context.password()) : 0;
  profiles.remove(name, context.password(), options.withMessages);
  std::string rest = "Its messages stay in the store; a new profile of the same user gets them.";
  if (isOnServer) rest = "Its messages stay on the server.";
  context.line(options.withMessages ? fmt::format("Profile '{}' was removed, and {} with it.", printable(name),
                                                  counted(messages, "message"))
                                    : fmt::format("Profile '{}' was removed. {}", printable(name), rest));
  Json document = {{"removed", toUtf8(name)}};
  if (options.withMessages) document["messagesDeleted"] = messages;
  context.document(document);
  return ExitCode::done;
}

ExitCode makeDefaultProfile(CommandContext& context, const std::string& wanted) {
  const std::wstring name = namedProfile(context, wanted);
  Profiles& profiles = context.profiles();
  profiles.makeDefault(name);
  context.line(fmt::format("Profile '{}' is the default.", printable(name)));
  context.document({{"default", toUtf8(name)}});
  return ExitCode::done;
}

struct PasswordOptions {
  std::string name, file;
  bool none = false;
};

std::string newPassword(const PasswordOptions& options) {
  if (options.none) return {};
  if (!options.file.empty()) return readPasswordFile(options.file);
  if (!inputIsTerminal())
    throw Failure(ExitCode::wrongUsage, "Which password? Give --new-file FILE, or --none to remove it.");
  const std::string password = askForPassword("New password: ");
  if (password.empty()) throw Failure(ExitCode::wrongUsage, "The new password is empty; --none removes a password.");
  if (askForPassword("Once more: ") != password) throw Failure(ExitCode::wrongUsage, "The passwords differ.");
  return password;
}

ExitCode changePassword(CommandContext& context, const PasswordOptions& options) {
  const std::wstring name = namedProfile(context, options.name);
  Profiles& profiles = context.profiles();
  const std::string password = newPassword(options);
  profiles.setPassword(name, context.password(), toWide(password));
  context.line(fmt::format("Profile '{}' has {} password.", printable(name), password.empty() ? "no" : "a new"));
  context.document({{"profile", toUtf8(name)}, {"hasPassword", !password.empty()}});
  return ExitCode::done;
}

struct RenameOptions {
  std::string name, newName;
};

ExitCode renameProfile(CommandContext& context, const RenameOptions& options) {
  if (options.newName.empty()) throw Failure(ExitCode::wrongUsage, "The profile's new name is empty.");
  checkName("The profile's new name", options.newName);
  const std::wstring name = namedProfile(context, options.name), newName = toWide(options.newName);
  Profiles& profiles = context.profiles();
  if (!sameName(name, newName) && exists(profiles, newName))
    throw Failure(ExitCode::failed, fmt::format("Profile '{}' exists already.", printable(newName)));
  profiles.rename(name, context.password(), newName);
  context.line(fmt::format("Profile '{}' is now called '{}'.", printable(name), printable(newName)));
  context.document({{"profile", options.newName}, {"was", toUtf8(name)}});
  return ExitCode::done;
}

}  // namespace

void addProfileCommand(CLI::App& app, CommandContext& context) {
  CLI::App* command = app.add_subcommand("profile", "Make, list, change and remove MAPI profiles");
  command->require_subcommand(1);
  command->footer(
      "A profile says who you are and which message stores you see.\n"
      "  fendrel profile add jane --user \"Jane Doe\" --default");

  const auto options = std::make_shared<AddOptions>();
  CLI::App* add = command->add_subcommand("add", "Make a profile");
  add->add_option("NAME", options->name, "The new profile's name")->required();
  add->add_option("--user", options->user, "The user's name, the sender of posted messages")->type_name("NAME");
  CLI::Option* server = add->add_option(
      "--server", options->server,
      "The mail server that keeps its messages and speaks JMAP: https://mail.example. --user signs in there");
  server->type_name("URL");
  add->add_option("--public", options->publicAccount, "The server's account that is shown as \"Public Folders\"")
      ->type_name("ACCOUNT")
      ->needs(server);
  add->add_option("--tls-ca", options->tlsCaFile, "Also trust this file's issuer certificates, for this server")
      ->type_name("FILE")
      ->needs(server);
  add->add_flag("--token", options->isToken, "The password is a bearer token")->needs(server);
  add->add_flag("--default", options->makeDefault, "Use this profile by default");
  add->footer(
      "--password-file FILE, or the environment variable FENDREL_PASSWORD, protects the profile; with --server\n"
      "it is the server's password, which is encrypted: only you, on this machine, can read it.\n"
      "Examples:\n"
      "  fendrel profile add jane --user \"Jane Doe\" --default\n"
      "  fendrel profile add team --server https://mail.example --user reports --password-file FILE");
  add->callback([&context, options] {
    context.command = [options](CommandContext& running) { return addProfile(running, *options); };
  });

  CLI::App* list = command->add_subcommand("list", "List the profiles with their users");
  list->footer("The user of a protected profile is shown when its password is given with --password-file.");
  list->callback([&context] { context.command = listProfiles; });

  const auto removed = std::make_shared<RemoveOptions>();
  CLI::App* remove = command->add_subcommand("remove", "Remove a profile; its messages stay in the store");
  remove->add_option("NAME", removed->name, "The profile's name")->required();
  remove->add_flag("--with-messages", removed->withMessages, "Delete the profile's mailbox with all its messages");
  remove->footer(
      "A later profile of the same user gets the remaining messages.\n"
      "Removing a profile with a password requires it: --password-file FILE.");
  remove->callback([&context, removed] {
    context.command = [removed](CommandContext& running) { return removeProfile(running, *removed); };
  });

  const auto chosen = std::make_shared<std::string>();
  CLI::App* standard = command->add_subcommand("default", "Use a profile by default");
  standard->add_option("NAME", *chosen, "The profile's name")->required();
  standard->callback([&context, chosen] {
    context.command = [chosen](CommandContext& running) { return makeDefaultProfile(running, *chosen); };
  });

  const auto secret = std::make_shared<PasswordOptions>();
  CLI::App* password = command->add_subcommand("password", "Give a profile a password, another one, or none");
  password->add_option("NAME", secret->name, "The profile's name")->required();
  CLI::Option* file =
      password->add_option("--new-file", secret->file, "The new password is this file's first line")->type_name("FILE");
  password->add_flag("--none", secret->none, "Remove the password")->excludes(file);
  password->footer(
      "Without an option it asks on the terminal. Give the current password with --password-file,\n"
      "--password-command or FENDREL_PASSWORD.");
  password->callback([&context, secret] {
    context.command = [secret](CommandContext& running) { return changePassword(running, *secret); };
  });

  const auto renaming = std::make_shared<RenameOptions>();
  CLI::App* rename = command->add_subcommand("rename", "Give a profile another name");
  rename->add_option("NAME", renaming->name, "The profile's name")->required();
  rename->add_option("NEW", renaming->newName, "Its new name")->required();
  rename->callback([&context, renaming] {
    context.command = [renaming](CommandContext& running) { return renameProfile(running, *renaming); };
  });
}

}  // namespace fendrel::host
