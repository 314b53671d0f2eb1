#include "posted_check.h"

#include <algorithm>

#include "text.h"

namespace fendrel::host {

void PostedCheck::begin() {
  if (begun) return;
  begun = true;
  // As exact as the time that the plug-in writes into a message: whole milliseconds.
  SYSTEMTIME now;
  GetSystemTime(&now);
  SystemTimeToFileTime(&now, &since);
  sinceTicks = GetTickCount64();
}

void PostedCheck::expect(Expected file) { pending.push_back(std::move(file)); }

ULONGLONG PostedCheck::waiting() const { return begun ? GetTickCount64() - sinceTicks : 0; }

std::vector<Found> PostedCheck::look() {
  std::vector<Found> results;
  if (!pending.empty()) {
    struct Candidate {
      MessageRow row;
      std::uint64_t attachedBytes;
    };
    std::vector<Candidate> candidates;
    for (MessageRow& row : messagesSince(folder, since)) {
      const bool wanted = std::ranges::any_of(pending, [&](const Expected& each) { return each.name == row.subject; });
      if (!wanted || taken.contains(hexadecimal(row.id))) continue;
      const std::vector<Attachment> attachments = attachmentsOf(*openMessage(folder, row).Get());
      const std::uint64_t bytes = attachments.size() == 1 ? attachments.front().size : 0;
      candidates.push_back({std::move(row), bytes});
    }
    for (const Expected& file : pending) {
      Found found{file.file, false, 0, {}};
      // Of several messages with one name, that of the right size is this file's.
      auto match = std::ranges::find_if(candidates, [&](const Candidate& each) {
        return each.row.subject == file.name && each.attachedBytes == file.size;
      });
      if (match == candidates.end())
        match = std::ranges::find_if(candidates, [&](const Candidate& each) { return each.row.subject == file.name; });
      if (match != candidates.end()) {
        found.there = true;
        found.attachedBytes = match->attachedBytes;
        found.messageClass = match->row.messageClass;
        taken.insert(hexadecimal(match->row.id));
        candidates.erase(match);
      }
      results.push_back(std::move(found));
    }
  }
  pending.clear();
  begun = false;
  return results;
}

}  // namespace fendrel::host
