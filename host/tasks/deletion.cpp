#include "deletion.h"

#include <fmt/format.h>

#include "error_words.h"
#include "text.h"

namespace fendrel::host {

void deleteChosen(const OpenFolder& folder, const std::vector<ChosenMessage>& messages) {
  if (messages.empty()) return;
  std::vector<SBinary> ids;
  for (const ChosenMessage& message : messages)
    ids.push_back({static_cast<ULONG>(message.row.id.size()), const_cast<BYTE*>(message.row.id.data())});
  ENTRYLIST list{static_cast<ULONG>(ids.size()), ids.data()};
  const HRESULT code = folder.folder->DeleteMessages(&list, 0, nullptr, 0);
  check(code, folderExitCode(code), fmt::format("The messages of '{}' cannot be deleted", printable(folder.path)),
        *folder.folder.Get());
  if (code == MAPI_W_PARTIAL_COMPLETION)
    throw Failure(ExitCode::failed,
                  fmt::format("Not all of the messages of '{}' were deleted (MAPI_W_PARTIAL_COMPLETION, 0x00040680). "
                              "\"fendrel list\" shows which are left.",
                              printable(folder.path)),
                  code);
}

Json tellDeletion(CommandContext& context, const ChosenMessage& message, bool dryRun) {
  const Json item = {{"number", message.number},
                     {"id", messageId(message.row)},
                     {"subject", toUtf8(message.row.subject)},
                     {"delivered", jsonTime(message.row.delivered)}};
  context.tell({Level::info,
                dryRun ? "would delete" : "deleted",
                {},
                fmt::format("Message {}, '{}', {} deleted.", message.number, printable(message.row.subject),
                            dryRun ? "would be" : "was"),
                item});
  return item;
}

std::string deletionWords(const ChosenMessage& message) {
  return fmt::format("Message {}, '{}', of {}", message.number, printable(message.row.subject),
                     localTime(message.row.delivered));
}

}  // namespace fendrel::host
