// The commands of fendrel.exe. Each adds itself to the command line: its options, its help, and what it does.
#pragma once

#include <CLI/CLI.hpp>

#include "command_context.h"

namespace fendrel::host {

void addPostCommand(CLI::App& app, CommandContext& context);
void addRunCommand(CLI::App& app, CommandContext& context);
void addChooseCommand(CLI::App& app, CommandContext& context);
void addFoldersCommand(CLI::App& app, CommandContext& context);
void addFolderCommand(CLI::App& app, CommandContext& context);
void addListCommand(CLI::App& app, CommandContext& context);
void addShowCommand(CLI::App& app, CommandContext& context);
void addSaveCommand(CLI::App& app, CommandContext& context);
void addDeleteCommand(CLI::App& app, CommandContext& context);
void addExportCommand(CLI::App& app, CommandContext& context);
void addDoctorCommand(CLI::App& app, CommandContext& context);
void addMapiCommand(CLI::App& app, CommandContext& context);
void addProfileCommand(CLI::App& app, CommandContext& context);
void addStoreCommand(CLI::App& app, CommandContext& context);
void addCompletionCommand(CLI::App& app, CommandContext& context);
void addTlvCommand(CLI::App& app, CommandContext& context);

}  // namespace fendrel::host
