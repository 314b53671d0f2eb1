// The commands of fendrel.exe. Each adds itself to the command line: its options, its help, and what it does.
#pragma once

#include <CLI/CLI.hpp>

#include "host.h"

namespace fendrel::host {

void addPostCommand(CLI::App& app, Host& host);
void addRunCommand(CLI::App& app, Host& host);
void addChooseCommand(CLI::App& app, Host& host);
void addFoldersCommand(CLI::App& app, Host& host);
void addFolderCommand(CLI::App& app, Host& host);
void addListCommand(CLI::App& app, Host& host);
void addShowCommand(CLI::App& app, Host& host);
void addSaveCommand(CLI::App& app, Host& host);
void addDeleteCommand(CLI::App& app, Host& host);
void addExportCommand(CLI::App& app, Host& host);
void addDoctorCommand(CLI::App& app, Host& host);
void addMapiCommand(CLI::App& app, Host& host);
void addProfileCommand(CLI::App& app, Host& host);
void addStoreCommand(CLI::App& app, Host& host);
void addCompletionCommand(CLI::App& app, Host& host);
void addTlvCommand(CLI::App& app, Host& host);

}  // namespace fendrel::host
