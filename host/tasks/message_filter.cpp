#include "message_filter.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "export_names.h"
#include "pattern.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr std::uint64_t hourUnits = 36'000'000'000;  // in units of 100 ns
constexpr std::uint64_t dayUnits = 24 * hourUnits;
constexpr std::size_t idDigits = 16;

std::uint64_t unitsOf(const FILETIME& time) { return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime; }

std::uint64_t keptTime(const MessageRow& message) {
  const std::uint64_t delivered = unitsOf(message.delivered);
  return delivered != 0 ? delivered : unitsOf(message.submitted);
}

// Reads the number at `position` and moves past it.
bool readNumber(const std::string& text, std::size_t& position, WORD& number) {
  const auto [end, error] = std::from_chars(text.data() + position, text.data() + text.size(), number);
  position = static_cast<std::size_t>(end - text.data());
  return error == std::errc();
}

struct Moment {
  std::uint64_t units;
  bool isDay;  // without a time of day
};

Moment parseMoment(const std::string& given, const char* option) {
  const auto refuse = [&] {
    return Failure(ExitCode::wrongUsage, fmt::format("{} '{}' is not a date. Write 2026-11-21 or \"2026-11-21 22:00\".",
                                                     option, printable(given)));
  };
  SYSTEMTIME local{}, utc{};
  std::size_t at = 0;
  const auto mark = [&](const char* marks) {
    return at < given.size() && std::string_view(marks).find(given[at]) != std::string_view::npos && ++at > 0;
  };
  if (!readNumber(given, at, local.wYear) || !mark("-") || !readNumber(given, at, local.wMonth) || !mark("-") ||
      !readNumber(given, at, local.wDay))
    throw refuse();
  const bool isDay = at == given.size();
  if (!isDay) {
    if (!mark(" T") || !readNumber(given, at, local.wHour) || !mark(":") || !readNumber(given, at, local.wMinute))
      throw refuse();
    if (mark(":") && !readNumber(given, at, local.wSecond)) throw refuse();
    if (at != given.size()) throw refuse();
  }
  FILETIME time{};
  if (!TzSpecificLocalTimeToSystemTime(nullptr, &local, &utc) || !SystemTimeToFileTime(&utc, &time)) throw refuse();
  return {unitsOf(time), isDay};
}

struct Range {
  std::uint64_t first, last;
};

Failure noNumber(const std::string& given) {
  return Failure(
      ExitCode::wrongUsage,
      fmt::format("'{}' is not a message number. \"fendrel list\" shows the numbers, beginning with 1; several "
                  "are written 1-3,7.",
                  printable(given)));
}

// "1-3,7"
std::vector<Range> parseRanges(const std::string& given) {
  std::vector<Range> ranges;
  const char* at = given.data();
  const char* const end = at + given.size();
  for (;;) {
    Range range{};
    auto [behind, error] = std::from_chars(at, end, range.first);
    if (error != std::errc() || range.first == 0) throw noNumber(given);
    range.last = range.first;
    if (behind != end && *behind == '-') {
      const auto second = std::from_chars(behind + 1, end, range.last);
      if (second.ec != std::errc() || range.last < range.first) throw noNumber(given);
      behind = second.ptr;
    }
    ranges.push_back(range);
    if (behind == end) return ranges;
    if (*behind != ',') throw noNumber(given);
    at = behind + 1;
  }
}

}  // namespace

void MessageFilter::addOptions(CLI::App& command) {
  command.add_option("--subject", subject, "Only messages whose subject matches; * and ? stand for any characters")
      ->type_name("PATTERN");
  command.add_option("--class", messageClass, "Only messages whose class matches, for example IPM.Document*")
      ->type_name("PATTERN");
  command.add_option("--since", since, "Only messages delivered since then: 2026-11-21 or \"2026-11-21 22:00\"")
      ->type_name("DATE");
  command.add_option("--until", until, "Only messages delivered until then, that day included")->type_name("DATE");
  command.add_option("--older-than", olderThan, "Only messages older than that: 90d; also hours (h) and weeks (w)")
      ->type_name("AGE");
  command
      .add_option("--id", ids,
                  "Only the message with this identifier, which \"fendrel list --ids\" shows; may be "
                  "given several times")
      ->type_name("ID")
      ->allow_extra_args(false);
}

bool MessageFilter::hasCriteria() const {
  return !(subject.empty() && messageClass.empty() && since.empty() && until.empty() && olderThan.empty());
}

std::uint64_t parseAge(const std::string& given, const char* what) {
  std::uint64_t count = 0;
  const auto [end, error] = std::from_chars(given.data(), given.data() + given.size(), count);
  const std::string_view unit(end, static_cast<std::size_t>(given.data() + given.size() - end));
  constexpr std::uint64_t most = 100'000;
  if (error == std::errc() && count > 0 && count <= most) {
    if (unit == "h") return count * hourUnits;
    if (unit == "d") return count * dayUnits;
    if (unit == "w") return count * 7 * dayUnits;
  }
  throw Failure(ExitCode::wrongUsage,
                fmt::format("{} '{}' is not an age. Write 90d, 12h or 2w.", what, printable(given)));
}

MessageTest::MessageTest(const MessageFilter& filter)
    : subject_(toWide(filter.subject)), messageClass_(toWide(filter.messageClass)) {
  if (!filter.since.empty()) from_ = parseMoment(filter.since, "--since").units;
  if (!filter.until.empty()) {
    const Moment moment = parseMoment(filter.until, "--until");
    before_ = moment.units + (moment.isDay ? dayUnits : 1);
  }
  if (!filter.olderThan.empty()) {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const std::uint64_t age = parseAge(filter.olderThan, "--older-than");
    const std::uint64_t limit = unitsOf(now) > age ? unitsOf(now) - age : 0;
    before_ = before_ ? std::min(*before_, limit) : limit;
  }
  for (const std::string& id : filter.ids) {
    const bool isId = id.size() == idDigits && id.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    if (!isId)
      throw Failure(ExitCode::wrongUsage,
                    fmt::format("--id '{}' is not an identifier; \"fendrel list --ids\" shows them.", printable(id)));
    keys_.push_back(toWide(id));
  }
}

bool MessageTest::matches(const MessageRow& message) const {
  if (!subject_.empty() && !matchesPattern(message.subject, subject_)) return false;
  if (!messageClass_.empty() && !matchesPattern(message.messageClass, messageClass_)) return false;
  const std::uint64_t time = keptTime(message);
  if ((from_ || before_) && time == 0) return false;  // its age is unknown
  if ((from_ && time < *from_) || (before_ && time >= *before_)) return false;
  if (keys_.empty()) return true;
  const std::wstring key = nameKey(message.id);
  return std::ranges::any_of(keys_, [&](const std::wstring& wanted) { return matchesPattern(key, wanted); });
}

std::string messageId(const MessageRow& message) { return toUtf8(nameKey(message.id)); }

std::vector<ChosenMessage> chooseMessages(MessageTable& table, const std::vector<std::string>& numbers,
                                          const MessageFilter& filter) {
  const MessageTest test(filter);
  std::vector<Range> ranges;
  for (const std::string& word : numbers)
    for (const Range& range : parseRanges(word)) ranges.push_back(range);
  if (ranges.empty()) ranges.push_back({1, UINT64_MAX});
  std::ranges::sort(ranges, {}, &Range::first);
  std::vector<ChosenMessage> chosen;
  std::uint64_t next = 1;  // smaller numbers were checked
  for (const Range& range : ranges) {
    const std::uint64_t first = std::max(range.first, next);
    if (range.last < first) continue;
    std::uint64_t last = first - 1;
    table.read(first, range.last == UINT64_MAX ? UINT64_MAX : range.last - first + 1,
               [&](std::uint64_t number, const MessageRow& row) {
                 last = number;
                 if (test.matches(row)) chosen.push_back({number, row});
               });
    if (range.last != UINT64_MAX && last < range.last) table.at(range.last);  // throws, as there is none
    next = last + 1;
  }
  std::vector<std::string> missing = filter.ids;
  std::erase_if(missing, [&](const std::string& id) {
    return std::ranges::any_of(
        chosen, [&](const ChosenMessage& each) { return matchesPattern(nameKey(each.row.id), toWide(id)); });
  });
  if (!missing.empty() && !filter.hasCriteria())
    throw Failure(
        ExitCode::folderRefused,
        fmt::format("No message has the identifier {}. \"fendrel list --ids\" shows them.", printable(missing.front())),
        MAPI_E_NOT_FOUND);
  return chosen;
}

}  // namespace fendrel::host
