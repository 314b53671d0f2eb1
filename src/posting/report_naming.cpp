#include "report_naming.h"

#include <cstring>
#include <cwchar>
#include <new>

#include "display_name_dialog.h"
#include "information_box.h"
#include "mapi_row.h"
#include "mapi_table.h"
#include "tlv_file.h"

namespace fendrel {
namespace {

// Tags of a report file.
constexpr std::uint16_t commentTag = 4121;
constexpr std::uint16_t bodyTag = 4122;  // the last one read

// Compares 8-bit text as if it were wide, two bytes per character, up to its terminator: among names in plain letters,
// only those of one letter match (docs/compatibility.md).
bool equalsAsWide(const char* text, const wchar_t* name) noexcept {
  const std::size_t count = (std::strlen(text) + 1) / sizeof(wchar_t);
  const HeapText wide(static_cast<wchar_t*>(std::calloc(count + 1, sizeof(wchar_t))));
  if (!wide) return false;  // like a table that cannot be read
  std::memcpy(wide.get(), text, count * sizeof(wchar_t));
  return _wcsicmp(wide.get(), name) == 0;
}

// The text from `make`; none without memory, so that the report is still posted.
template <class Make>
std::optional<std::wstring> textOrNone(Make make) noexcept {
  try {
    return make();
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

// A block's wide text up to its terminator; nothing for an empty block.
std::optional<std::wstring> textOf(const MemoryBlock& block) noexcept {
  if (!block) return std::nullopt;
  return textOrNone([&] {
    std::wstring text(BlockSize(block) / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), block.get(), text.size() * sizeof(wchar_t));
    text.resize(wcsnlen(text.c_str(), text.size()));
    return text;
  });
}

}  // namespace

bool isReportNameUsed(IMAPIFolder* folder, const wchar_t* name) noexcept {
  static constexpr auto columns = propertyTags(PR_DISPLAY_NAME_A);
  CMAPITable messages;
  if (!messages.OpenAssociatedContentsTable(folder) || !messages.Prepare(columns.array())) return false;
  while (const SRow* const row = messages.NextRow()) {
    const auto values = columnsOf(*row);
    if (values.empty() || PROP_TYPE(values[0].ulPropTag) != PT_STRING8) continue;
    const char* const carried = readableTextOf(values[0]);
    if (carried && equalsAsWide(carried, name)) return true;
  }
  return false;
}

void readReportTexts(const wchar_t* filePath, ReportTexts& texts) noexcept {
  std::unique_ptr<TLVFile> report;
  if (!filePath || OpenTLVFile(filePath, openForRead, denyWrite, report) != fileSuccess) return;
  bool commentSeen = false;
  std::uint16_t tag = 0, length = 0;
  do {
    MemoryBlock value;
    if (report->ReadItem(tag, length, value) != fileSuccess) return;
    if (tag == commentTag && !commentSeen) {
      texts.comment = textOf(value);
      commentSeen = true;
    } else if (tag == bodyTag) {
      texts.body = textOf(value);
    }
  } while (tag != bodyTag);
}

Naming ReportNaming::nameReport(const std::wstring& reportName, const wchar_t* filePath, IMAPIFolder* folder,
                                ReportTexts& texts) {
  HeapText name;
  for (;;) {
    const INT_PTR answer = CDisplayNameDialog::DoModal(parentWindow_, reportName.c_str(), name);
    if (answer != CDisplayNameDialog::ok) return static_cast<Naming>(answer);
    if (!name || !isReportNameUsed(folder, name.get())) break;
    showInformation(parentWindow_,
                    L"Report Display Name has already been used by other reports.\n"
                    L"Please enter a unique report display name.");
  }
  if (name) texts.displayName = textOrNone([&] { return std::wstring(name.get()); });
  readReportTexts(filePath, texts);
  return Naming::post;
}

}  // namespace fendrel
