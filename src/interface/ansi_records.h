// The host's records converted between their wide and their ANSI form, text by text; everything else is copied.
// Null arrays, entries and texts stay null.
#pragma once

#include <memory>
#include <vector>

#include "ansi_text.h"
#include "fendrel/fendrel.h"

namespace fendrel {

// The file list of an ANSI host as the wide functions take it. Throws std::bad_alloc.
class WideFileList {
 public:
  explicit WideFileList(const FendrelFileListA* list);

  // Null for a null list; valid as long as this object.
  const FendrelFileList* get() const noexcept { return given_ ? &list_ : nullptr; }

 private:
  const wchar_t* convert(const char* text);
  FendrelFileDescription convert(const FendrelFileDescriptionA& file);

  bool given_;
  FendrelFileList list_{};
  std::vector<FendrelFileDescription> files_;
  std::vector<const FendrelFileDescription*> entries_;
  std::vector<HeapText> texts_;
};

// The description of an export likewise.
class WideExportDescription {
 public:
  explicit WideExportDescription(const FendrelExportDescriptionA* description);
  const FendrelExportDescription* get() const noexcept { return given_ ? &description_ : nullptr; }

 private:
  bool given_;
  FendrelExportDescription description_{};
  std::vector<const wchar_t*> paths_;
  std::vector<HeapText> texts_;
};

// The destinations that the plug-in offers, for an ANSI host. Neither copied nor moved: the record points into it.
class AnsiDestinationList {
 public:
  explicit AnsiDestinationList(const FendrelDestinationList& list);
  AnsiDestinationList(const AnsiDestinationList&) = delete;
  AnsiDestinationList& operator=(const AnsiDestinationList&) = delete;

  const FendrelDestinationListA* get() const noexcept { return &list_; }

  // False before the plug-in is initialised.
  bool isNamed() const noexcept;

 private:
  FendrelDestinationListA list_{};
  std::vector<FendrelDestinationA> destinations_;
  std::vector<const FendrelDestinationA*> entries_;
  std::vector<HeapAnsiText> texts_;
};

// The result record of a job, likewise.
class AnsiResult {
 public:
  explicit AnsiResult(const FendrelResult& result);
  AnsiResult(const AnsiResult&) = delete;
  AnsiResult& operator=(const AnsiResult&) = delete;

  FendrelResultA* get() noexcept { return &result_; }

 private:
  FendrelResultA result_{};
  std::vector<const char*> strings_;
  std::vector<HeapAnsiText> texts_;
};

}  // namespace fendrel
