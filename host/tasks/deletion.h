// Deleting chosen messages, for a person and for a job's retention.
#pragma once

#include "command_context.h"
#include "message_filter.h"

namespace fendrel::host {

// All or none of them, for good. The folder is open to be changed. Throws Failure.
void deleteChosen(const OpenFolder& folder, const std::vector<ChosenMessage>& messages);

// Says that it was, or would be, deleted; answers what JSON says of it.
Json tellDeletion(CommandContext& context, const ChosenMessage& message, bool dryRun);

// "Message 3, 'sales.pdf', of 2026-11-21 22:00:00"
std::string deletionWords(const ChosenMessage& message);

}  // namespace fendrel::host
