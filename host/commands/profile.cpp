// fendrel profile: the profiles that MAPI logs on to.
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "commands.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct AddOptions {
  std::string name, user;
  bool makeDefault = false;
};

bool sameName(const std::wstring& one, const std::wstring& other) {
  return CompareStringOrdinal(one.c_str(), -1, other.c_str(), -1, TRUE) == CSTR_EQUAL;
}

bool exists(Profiles& profiles, const std::wstring& name) {
  return std::ranges::any_of(profiles.list(), [&](const ProfileEntry& each) { return sameName(each.name, name); });
}

ExitCode addProfile(Host& host, const AddOptions& options) {
  const std::wstring name = toWide(options.name);
  if (name.empty()) throw Failure(ExitCode::wrongUsage, "The profile's name is empty.");
  Profiles& profiles = host.profiles();
  if (exists(profiles, name))
    throw Failure(ExitCode::failed,
                  fmt::format("Profile '{}' exists already. Choose another name, or remove it first with: "
                              "fendrel profile remove \"{}\"", printable(options.name), printable(options.name)));
  profiles.add(name, host.password());
  try {
    if (!options.user.empty()) profiles.setUserName(name, host.password(), toWide(options.user));
    if (options.makeDefault) profiles.makeDefault(name);
  } catch (...) {
    profiles.remove(name);  // half a profile is of no use
    throw;
  }
  host.line(fmt::format("Profile '{}' was made{}.", printable(options.name),
                        options.makeDefault ? " and is the default" : ""));
  host.document({{"profile", options.name},
                 {"user", options.user.empty() ? Json(nullptr) : Json(options.user)},
                 {"default", options.makeDefault}});
  return ExitCode::done;
}

ExitCode listProfiles(Host& host) {
  Profiles& profiles = host.profiles();
  const std::vector<ProfileEntry> found = profiles.list();
  std::size_t width = 0;
  for (const ProfileEntry& profile : found) width = std::max(width, displayWidth(printable(profile.name)));
  Json list = Json::array();
  for (const ProfileEntry& profile : found) {
    const std::optional<std::wstring> user = profiles.userName(profile.name, host.password());
    host.line(fmt::format("{}  {}{}", padded(printable(profile.name), width), user ? printable(*user) : "-",
                          profile.isDefault ? "  (default)" : ""));
    list.push_back({{"name", toUtf8(profile.name)},
                    {"user", user ? Json(toUtf8(*user)) : Json(nullptr)},
                    {"default", profile.isDefault}});
  }
  if (found.empty()) host.line("There is no profile yet. Make one with: fendrel profile add NAME --user \"Your Name\"");
  host.document({{"profiles", list}});
  return ExitCode::done;
}

ExitCode removeProfile(Host& host, const std::string& name) {
  if (name.empty()) throw Failure(ExitCode::wrongUsage, "The profile's name is empty.");
  Profiles& profiles = host.profiles();
  profiles.remove(profiles.choose(toWide(name)));
  host.line(fmt::format("Profile '{}' was removed. Its messages stay in the store.", printable(name)));
  host.document({{"removed", name}});
  return ExitCode::done;
}

}  // namespace

void addProfileCommand(CLI::App& app, Host& host) {
  CLI::App* command = app.add_subcommand("profile", "Make, list and remove MAPI profiles");
  command->require_subcommand(1);
  command->footer("A profile says who you are and which message stores you see.\n"
                  "  fendrel profile add jane --user \"Jane Doe\" --default");

  const auto options = std::make_shared<AddOptions>();
  CLI::App* add = command->add_subcommand("add", "Make a profile");
  add->add_option("NAME", options->name, "The new profile's name")->required();
  add->add_option("--user", options->user, "The user's name, the sender of what is posted")->type_name("NAME");
  add->add_flag("--default", options->makeDefault, "Use this profile where none is named");
  add->footer("--password TEXT, or the environment variable FENDREL_PASSWORD, protects the profile.\n"
              "Example:\n  fendrel profile add jane --user \"Jane Doe\" --default");
  add->callback([&host, options] {
    host.command = [options](Host& running) { return addProfile(running, *options); };
  });

  CLI::App* list = command->add_subcommand("list", "List the profiles with their users");
  list->footer("The user of a protected profile is shown when its password is given with --password.");
  list->callback([&host] { host.command = listProfiles; });

  const auto removed = std::make_shared<std::string>();
  CLI::App* remove = command->add_subcommand("remove", "Remove a profile; its messages stay in the store");
  remove->add_option("NAME", *removed, "The profile's name")->required();
  remove->callback([&host, removed] {
    host.command = [removed](Host& running) { return removeProfile(running, *removed); };
  });
}

}  // namespace fendrel::host
