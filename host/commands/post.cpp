// fendrel post: posts files as messages into a folder.
#include <fmt/format.h>

#include <memory>

#include "commands.h"
#include "posting.h"
#include "text.h"

namespace fendrel::host {
namespace {

// The plug-in counts an export's files in 16 bits.
constexpr std::size_t mostFilesTogether = 65535;

struct PostOptions {
  PostRequest request;
  FileSelection selection;
};

ExitCode post(CommandContext& context, const PostOptions& options) {
  const TargetChoice& target = options.request.target;
  if (target.personal + !target.to.empty() + !target.savedChoice.empty() != 1)
    throw Failure(ExitCode::wrongUsage, "Give exactly one target: --to PATH, --personal or --options FILE.");
  if (target.create && target.to.empty())
    throw Failure(ExitCode::wrongUsage, "--create makes the folders of --to PATH and goes with nothing else.");
  if (!target.savedChoice.empty() && !context.options.profile.empty())
    throw Failure(ExitCode::wrongUsage, "--options FILE names the profile itself; leave out --profile.");
  InputFiles inputs(options.selection);
  if (options.request.together && inputs.files.size() > mostFilesTogether)
    throw Failure(ExitCode::wrongUsage, fmt::format("At most {} files can be posted together; leave out --together.",
                                                    withThousands(mostFilesTogether)));
  Posting posting(context, options.request, inputs.files);
  const ExitCode exit = posting.run();
  if (!context.options.jsonLines) context.document(posting.document(exit));
  return exit;
}

void addInputOptions(CLI::App& command, FileSelection& selection) {
  command.add_option("FILE", selection.words, "The files; a pattern with * or ? names several, - is standard input");
  command
      .add_option("--files-from", selection.filesFrom,
                  "Also the files named in this file, one per line; - reads the names from standard input")
      ->type_name("FILE");
  command.add_flag("-0", selection.nulSeparated, "The names in --files-from end with a 0 byte instead of a line end");
  command.add_flag("-r,--recursive", selection.recursive,
                   "A directory means all files in it and in its subdirectories");
  command
      .add_option("--include", selection.include,
                  "Of directories and patterns only files whose name matches; may be given several times")
      ->type_name("PATTERN")
      ->allow_extra_args(false);
  command.add_option("--exclude", selection.exclude, "Of directories and patterns no file whose name matches")
      ->type_name("PATTERN")
      ->allow_extra_args(false);
  command.add_option("--name", selection.inputName, "The name for standard input, for example sales.csv")
      ->type_name("NAME");
}

}  // namespace

void addPostCommand(CLI::App& app, CommandContext& context) {
  const auto options = std::make_shared<PostOptions>();
  PostRequest& request = options->request;
  CLI::App* command = app.add_subcommand("post", "Post files into a folder, one message for each");
  addInputOptions(*command, options->selection);
  command->add_option("--to", request.target.to, "The folder: names joined by '@', message store first")
      ->type_name("PATH");
  command->add_flag("--personal", request.target.personal, "Post as personal reports of the default store instead");
  command
      ->add_option("--options", request.target.savedChoice,
                   "Use the profile and folder saved by \"fendrel choose --save FILE\"")
      ->type_name("FILE");
  command->add_flag("--create", request.target.create, "Make missing folders of PATH (never a store)");
  command->add_flag("--skip-existing", request.skipExisting,
                    "Leave out files whose messages the folder holds already, with the same name and the same bytes");
  command
      ->add_option("--retries", request.retries,
                   "How often to retry temporary failures: busy, time-out, disk, network, logon server")
      ->type_name("N");
  command->add_option("--wait", request.wait, "Seconds before the first retry (2); each further wait is twice as long")
      ->type_name("SECONDS");
  command->add_flag("-n,--dry-run", request.dryRun, "Show what would be posted, and post nothing");
  command->add_flag("--together", request.together,
                    "Pass all files to one export, as a report engine does, instead of one export per file");
  command->add_option("--type", request.target.type, "Posting type with --to: instance (default) or folder")
      ->check(CLI::IsMember({"instance", "folder"}))
      ->type_name("TYPE");
  command->footer(
      "The plug-in decides the content of messages. A file counts as posted when the folder holds its message\n"
      "with every byte. A file that cannot be read is reported and left out; with --together nothing is posted\n"
      "then. With --skip-existing the same command can be repeated after any interruption.\n"
      "Examples:\n"
      "  fendrel post --to \"Public Folders@Reports@Daily\" --create sales.pdf stock.csv\n"
      "  fendrel post --to \"Public Folders@Reports@Daily\" --skip-existing --retries 5 -r out --include *.pdf\n"
      "  fendrel post --personal sales.pdf\n"
      "  fendrel post --options daily.choice sales.pdf\n"
      "  fendrel post --profile jane --to \"Mailbox - Jane Doe@Inbox\" *.pdf");
  command->callback([&context, options] {
    options->request.target.lookOnly = options->request.dryRun;
    context.command = [options](CommandContext& running) { return post(running, *options); };
  });
}

}  // namespace fendrel::host
