#include "ansi_records.h"

#include <algorithm>
#include <iterator>

namespace fendrel {
namespace {

// Keeps the converted text and returns its address.
const wchar_t* keep(std::vector<HeapText>& texts, const char* text) {
  return texts.emplace_back(wideFromAnsiHost(text)).get();
}
const char* keep(std::vector<HeapAnsiText>& texts, const wchar_t* text) {
  return texts.emplace_back(ansiFromWide(text)).get();
}

}  // namespace

const wchar_t* WideFileList::convert(const char* text) { return keep(texts_, text); }

FendrelFileDescription WideFileList::convert(const FendrelFileDescriptionA& file) {
  FendrelFileDescription wide{.size = sizeof wide, .nameGiven = file.nameGiven};
  wide.givenName = convert(file.givenName);
  std::ranges::transform(file.unread1, wide.unread1, [this](const char* text) { return convert(text); });
  wide.fileNameTemplate = convert(file.fileNameTemplate);
  wide.unread2 = convert(file.unread2);
  return wide;
}

WideFileList::WideFileList(const FendrelFileListA* list) : given_(list != nullptr) {
  if (!list) return;
  list_.size = sizeof list_;
  list_.unread1 = list->unread1;
  list_.unread2 = list->unread2;
  list_.fileCount = list->fileCount;
  if (list->files) {
    files_.reserve(list->fileCount);  // entries point into it
    entries_.reserve(list->fileCount + std::size_t{1});
    for (std::uint16_t file = 0; file < list->fileCount; ++file)
      entries_.push_back(list->files[file] ? &files_.emplace_back(convert(*list->files[file])) : nullptr);
    list_.files = entries_.data();
  }
  std::ranges::transform(list->unread3, list_.unread3, [this](const char* text) { return convert(text); });
  list_.unread4 = list->unread4;
}

WideExportDescription::WideExportDescription(const FendrelExportDescriptionA* description)
    : given_(description != nullptr) {
  if (!description) return;
  description_.size = sizeof description_;
  description_.fileCount = description->fileCount;
  if (description->filePaths) {
    paths_.reserve(description->fileCount + std::size_t{1});
    for (std::uint16_t file = 0; file < description->fileCount; ++file)
      paths_.push_back(keep(texts_, description->filePaths[file]));
    description_.filePaths = paths_.data();
  }
  std::ranges::copy(description->unread, description_.unread);
}

AnsiDestinationList::AnsiDestinationList(const FendrelDestinationList& list) {
  list_.size = sizeof list_;
  list_.count = list.count;
  if (!list.destinations) return;
  destinations_.reserve(list.count);
  entries_.reserve(list.count + std::size_t{1});
  for (std::uint16_t entry = 0; entry < list.count; ++entry) {
    const FendrelDestination* const wide = list.destinations[entry];
    FendrelDestinationA* ansi = nullptr;
    if (wide) {
      ansi = &destinations_.emplace_back();
      ansi->size = sizeof *ansi;
      ansi->name = keep(texts_, wide->name);
      ansi->reserved = wide->reserved;
    }
    entries_.push_back(ansi);
  }
  list_.destinations = entries_.data();
}

bool AnsiDestinationList::isNamed() const noexcept {
  return std::ranges::all_of(destinations_, [](const FendrelDestinationA& entry) { return entry.name != nullptr; });
}

AnsiResult::AnsiResult(const FendrelResult& result) {
  result_.size = sizeof result_;
  result_.count = result.count;
  if (result.strings) {
    strings_.reserve(result.count + std::size_t{1});
    for (std::uint16_t string = 0; string < result.count; ++string)
      strings_.push_back(keep(texts_, result.strings[string]));
    result_.strings = strings_.data();
  }
  std::ranges::copy(result.reserved, result_.reserved);
}

}  // namespace fendrel
