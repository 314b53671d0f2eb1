// fendrel tlv: lists the tagged records of a file.
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "commands.h"
#include "console.h"
#include "paths.h"
#include "text.h"
#include "tlv_item.h"

namespace fendrel::host {
namespace {

// A window over a file of any size that holds the whole item at its start.
class RecordFile {
 public:
  explicit RecordFile(const std::wstring& path) : file_(std::filesystem::path(path), std::ios::binary) {}

  bool isOpen() const { return file_.is_open(); }

  // The item at `offset`; offsets must not decrease. Valid until the next call.
  TlvItem at(std::uint64_t offset) {
    if (!ended_ && offset + tlvHeaderSize + tlvMaxLength > start_ + buffer_.size()) refill(offset);
    return tlvItemAt(buffer_, static_cast<std::size_t>(offset - start_));
  }
  bool failed() const { return file_.bad(); }

 private:
  void refill(std::uint64_t offset) {
    constexpr std::size_t windowSize = 1 << 20;
    const std::size_t used = std::min(static_cast<std::size_t>(offset - start_), buffer_.size());
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(used));
    start_ += used;
    const std::size_t kept = buffer_.size();
    buffer_.resize(windowSize);
    file_.read(reinterpret_cast<char*>(buffer_.data() + kept), static_cast<std::streamsize>(windowSize - kept));
    buffer_.resize(kept + static_cast<std::size_t>(file_.gcount()));
    ended_ = !file_;
  }

  std::ifstream file_;
  std::vector<std::byte> buffer_;
  std::uint64_t start_ = 0;  // of the buffer in the file
  bool ended_ = false;
};

constexpr std::size_t shownItemBytes = 64;  // of a value, at most

// The start of a value that looks like terminated wide text; else empty.
std::wstring wideText(std::span<const std::byte> value) {
  const auto unitAt = [value](std::size_t at) {
    return static_cast<wchar_t>(std::to_integer<unsigned>(value[at]) | std::to_integer<unsigned>(value[at + 1]) << 8);
  };
  if (value.size() % 2 != 0 || value.size() < 2 || unitAt(value.size() - 2) != 0) return {};
  std::wstring text;
  for (std::size_t at = 0; at < std::min(value.size() - 2, shownItemBytes); at += 2) text += unitAt(at);
  const auto isText = [](wchar_t unit) { return unit >= L' ' || unit == L'\t' || unit == L'\r' || unit == L'\n'; };
  return std::ranges::all_of(text, isText) ? text : std::wstring();
}

std::string plainText(std::span<const std::byte> value) {
  std::string text(reinterpret_cast<const char*>(value.data()), value.size());
  if (!text.empty() && text.back() == 0) text.pop_back();
  return std::ranges::all_of(text, [](char byte) { return byte >= ' ' && byte <= '~'; }) ? text : std::string();
}

// Plain 8-bit text first: two such bytes would look like one wide letter.
std::string preview(std::span<const std::byte> value) {
  constexpr std::size_t shownWidth = 48;
  if (const std::string text = plainText(value.first(std::min(value.size(), shownItemBytes))); !text.empty())
    return '"' + clipped(text, shownWidth) + '"';
  if (const std::wstring text = wideText(value); !text.empty()) return '"' + clipped(printable(text), shownWidth) + '"';
  const auto start = value.first(std::min<std::size_t>(value.size(), 16));
  return hexadecimal({reinterpret_cast<const std::uint8_t*>(start.data()), start.size()}) +
         (start.size() < value.size() ? "..." : "");
}

// Why there is no valid record.
std::string faultWords(const TlvItem& item) {
  switch (item.finding) {
    case TlvFinding::cutHeader: return "the file ends inside the four bytes of a record's header";
    case TlvFinding::noTag: return "the tag is 0, which no record has";
    case TlvFinding::lengthTooLarge:
      return fmt::format("tag {} states a length of {} bytes; a record has at most {}", item.header.tag,
                         withThousands(item.header.length), withThousands(tlvMaxLength));
    case TlvFinding::cutValue:
      return fmt::format("tag {} states a length of {} bytes, but the file ends after {} of them", item.header.tag,
                         withThousands(item.header.length), withThousands(item.value.size()));
    default: return {};
  }
}

ExitCode listRecords(CommandContext& context, const std::string& given) {
  const std::wstring path = fullPath(given);
  RecordFile file(longPath(path));
  if (!file.isOpen())
    throw systemFailure(ExitCode::failed, "File '" + printable(given) + "' cannot be opened", GetLastError());
  context.line(fmt::format("{:>10}  {:>5}  {:>6}  {}", "Offset", "Tag", "Length", "Value"));
  Json records = Json::array();
  std::uint64_t offset = 0, count = 0;
  TlvItem item = file.at(offset);
  for (; item.finding == TlvFinding::item; item = file.at(offset), ++count) {
    if (cancelRequested()) return ExitCode::cancelled;
    const std::string shown = preview(item.value);
    if (context.options.json)
      records.push_back(
          {{"offset", offset}, {"tag", item.header.tag}, {"length", item.header.length}, {"preview", shown}});
    else
      context.line(fmt::format("{:>10}  {:>5}  {:>6}  {}", offset, item.header.tag, item.header.length, shown));
    offset += tlvHeaderSize + item.header.length;
  }
  if (file.failed())
    throw systemFailure(ExitCode::failed, "File '" + printable(given) + "' cannot be read", GetLastError());

  Json document = {{"file", given}, {"records", records}};
  const std::string fault = faultWords(item);
  if (!fault.empty()) {
    printError(
        fmt::format("fendrel: '{}' is malformed at offset {} (0x{:X}), after {}: {}. The records before it are intact; "
                    "create the file again.",
                    printable(given), offset, offset, counted(count, "record"), fault));
    document["fault"] = {{"offset", offset}, {"reason", fault}};
  } else {
    context.line(counted(count, "record"));
  }
  context.document(document);
  return fault.empty() ? ExitCode::done : ExitCode::failed;
}

}  // namespace

void addTlvCommand(CLI::App& app, CommandContext& context) {
  const auto file = std::make_shared<std::string>();
  CLI::App* command =
      app.add_subcommand("tlv", "List the tagged records of a file and the position of a malformed one");
  command->add_option("file", *file, "The file")->required()->type_name("FILE");
  command->footer("Example:\n  fendrel tlv sales.rpt");
  command->callback(
      [&context, file] { context.command = [file](CommandContext& running) { return listRecords(running, *file); }; });
}

}  // namespace fendrel::host
