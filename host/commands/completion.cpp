// fendrel completion: a script with which a shell completes commands and options, generated from the commands'
// definitions.
#include <fmt/format.h>

#include <memory>

#include "commands.h"
#include "console.h"

namespace fendrel::host {
namespace {

// A command's path ("profile add", or "" for the program) and the words that can follow it.
struct Completion {
  std::string path, words;
};

void appendOptions(const CLI::App& app, std::string& words) {
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty()) continue;  // hidden
    for (const std::string& name : option->get_lnames()) words += (words.empty() ? "--" : " --") + name;
  }
}

void collect(const CLI::App& root, const CLI::App& app, const std::string& path, std::vector<Completion>& all) {
  Completion completion{path, {}};
  for (const CLI::App* below : app.get_subcommands({}))
    completion.words += (completion.words.empty() ? "" : " ") + below->get_name();
  appendOptions(app, completion.words);
  if (&app != &root) appendOptions(root, completion.words);
  all.push_back(completion);
  for (const CLI::App* below : app.get_subcommands({}))
    collect(root, *below, path + (path.empty() ? "" : " ") + below->get_name(), all);
}

std::string bashScript(const std::vector<Completion>& all) {
  std::string script =
      "# fendrel completion bash > ~/.local/share/bash-completion/completions/fendrel\n"
      "_fendrel() {\n"
      "  local word=${COMP_WORDS[COMP_CWORD]} path= each words=\n"
      "  for each in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
      "    case \"${path:+$path }$each\" in\n";
  for (const Completion& each : all)
    if (!each.path.empty()) script += fmt::format("      '{0}') path='{0}' ;;\n", each.path);
  script +=
      "    esac\n"
      "  done\n"
      "  case \"$path\" in\n";
  for (const Completion& each : all) script += fmt::format("    '{}') words='{}' ;;\n", each.path, each.words);
  return script +
         "  esac\n"
         "  COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
         "}\n"
         "complete -o default -F _fendrel fendrel";
}

std::string powerShellScript(const std::vector<Completion>& all) {
  std::string script =
      "# fendrel completion powershell >> $PROFILE\n"
      "Register-ArgumentCompleter -Native -CommandName fendrel, fendrel.exe -ScriptBlock {\n"
      "  param($word, $ast, $cursor)\n"
      "  $known = @{\n";
  for (const Completion& each : all) script += fmt::format("    '{}' = '{}'\n", each.path, each.words);
  return script +
         "  }\n"
         "  $path = ''\n"
         "  foreach ($each in $ast.CommandElements | Select-Object -Skip 1) {\n"
         "    $next = \"$path $each\".Trim()\n"
         "    if ($known.ContainsKey($next) -and $each.Extent.EndOffset -lt $cursor) { $path = $next }\n"
         "  }\n"
         "  $known[$path] -split ' ' | Where-Object { $_ -like \"$word*\" } |\n"
         "    ForEach-Object { [System.Management.Automation.CompletionResult]::new($_) }\n"
         "}";
}

}  // namespace

void addCompletionCommand(CLI::App& app, CommandContext& context) {
  const auto shell = std::make_shared<std::string>();
  CLI::App* command = app.add_subcommand("completion", "Print a script that completes commands and options in a shell");
  command->add_option("SHELL", *shell, "bash or powershell")->required()->check(CLI::IsMember({"bash", "powershell"}));
  command->footer(
      "Examples:\n"
      "  fendrel completion bash > ~/.local/share/bash-completion/completions/fendrel\n"
      "  fendrel completion powershell >> $PROFILE");
  command->callback([&app, &context, shell] {
    context.command = [&app, shell](CommandContext&) {
      std::vector<Completion> all;
      collect(app, app, "", all);
      printLine(*shell == "bash" ? bashScript(all) : powerShellScript(all));
      return ExitCode::done;
    };
  });
}

}  // namespace fendrel::host
