// Deletes chosen messages, for the user and for a job's retention.
#pragma once

#include "command_context.h"
#include "message_filter.h"

namespace fendrel::host {

// Deletes all or none of them permanently. The folder must be open for writing. Throws Failure.
void deleteChosen(const OpenFolder& folder, const std::vector<ChosenMessage>& messages);

// Reports a message as deleted, or to be deleted; returns its JSON.
Json tellDeletion(CommandContext& context, const ChosenMessage& message, bool dryRun);

// "Message 3, 'sales.pdf', of 2026-11-21 22:00:00"
std::string deletionWords(const ChosenMessage& message);

}  // namespace fendrel::host
