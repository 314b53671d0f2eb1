// Chooses messages of a folder by subject, class, time, identifier or number.
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "messages.h"

namespace fendrel::host {

// As the user writes it.
struct MessageFilter {
  std::string subject, messageClass;  // patterns with '*' and '?'
  std::string since, until;           // "2026-11-21", "2026-11-21 22:00", local time; until: inclusive
  std::string olderThan;              // "90d", "12h", "2w"
  std::vector<std::string> ids;       // as "list --ids" shows them

  void addOptions(CLI::App& command);
  bool hasCriteria() const;  // other than identifiers
  bool isEmpty() const { return ids.empty() && !hasCriteria(); }
};

// The filter at one moment. A message's time is that of its delivery, or without one that of its sending.
class MessageTest {
 public:
  // Throws Failure(wrongUsage) for an invalid date, age or identifier.
  explicit MessageTest(const MessageFilter& filter);

  bool matches(const MessageRow& message) const;

 private:
  std::wstring subject_, messageClass_;
  std::optional<std::uint64_t> from_, before_;  // as file times; before: exclusive
  std::vector<std::wstring> keys_;
};

// A message's identifier in sixteen digits, the same in every run and in the names of exported files.
std::string messageId(const MessageRow& message);

// "90d" in units of a file time. Throws Failure(wrongUsage), naming `what`.
std::uint64_t parseAge(const std::string& given, const char* what);

struct ChosenMessage {
  std::uint64_t number;
  MessageRow row;
};

// The messages with these numbers ("1-3,7" or single ones) that match, in the folder's order; without numbers, all that
// match. Throws Failure: wrongUsage for an invalid number, folderRefused for a number or an identifier that no message
// has.
std::vector<ChosenMessage> chooseMessages(MessageTable& table, const std::vector<std::string>& numbers,
                                          const MessageFilter& filter);

}  // namespace fendrel::host
