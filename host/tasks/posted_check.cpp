#include "posted_check.h"

#include <algorithm>

#include "text.h"

namespace fendrel::host {

PostedCheck::PostedCheck(const std::vector<MessageRow>& present) {
  for (const MessageRow& row : present) taken_.insert(hexadecimal(row.id));
}

void PostedCheck::expect(Expected file) {
  if (pending_.empty()) sinceTicks_ = GetTickCount64();
  pending_.push_back(std::move(file));
}

ULONGLONG PostedCheck::waiting() const { return pending_.empty() ? 0 : GetTickCount64() - sinceTicks_; }

std::vector<Found> PostedCheck::look(const OpenFolder& folder) {
  std::vector<Found> results;
  if (!pending_.empty()) {
    struct Candidate {
      MessageRow row;
      std::uint64_t attachedBytes;
    };
    std::vector<Candidate> candidates;
    std::set<std::wstring> names;
    for (const Expected& file : pending_) names.insert(file.name);
    for (MessageRow& row : messagesNamed(folder, names)) {
      if (taken_.contains(hexadecimal(row.id))) continue;
      const std::vector<Attachment> attachments = attachmentsOf(*openMessage(folder, row).Get());
      const std::uint64_t bytes = attachments.size() == 1 ? attachments.front().size : 0;
      candidates.push_back({std::move(row), bytes});
    }
    for (const Expected& file : pending_) {
      Found found{file.file, false, 0, {}};
      // Among messages with the same name, the one with the right size is this file's.
      auto match = std::ranges::find_if(candidates, [&](const Candidate& each) {
        return each.row.subject == file.name && each.attachedBytes == file.size;
      });
      if (match == candidates.end())
        match = std::ranges::find_if(candidates, [&](const Candidate& each) { return each.row.subject == file.name; });
      if (match != candidates.end()) {
        found.there = true;
        found.attachedBytes = match->attachedBytes;
        found.messageClass = match->row.messageClass;
        taken_.insert(hexadecimal(match->row.id));
        candidates.erase(match);
      }
      results.push_back(std::move(found));
    }
  }
  pending_.clear();
  return results;
}

}  // namespace fendrel::host
