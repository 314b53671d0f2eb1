// The records that a host hands in, built from ordinary C++ values.
#pragma once

#include <deque>
#include <initializer_list>
#include <string>
#include <vector>

#include "plugin.h"

namespace fendrel::test {

// An unpacked options record; null texts are absent. The texts must outlive it.
DestinationOptions unpackedOptions(const wchar_t* profileName, const wchar_t* password, const wchar_t* folderPath,
                                   uint16_t destinationType = FENDREL_REPORT_INSTANCE);

// A file list of templates, one per file.
class FileList {
 public:
  FileList() = default;
  explicit FileList(std::initializer_list<const wchar_t*> templates);
  FileList(const FileList&) = delete;
  FileList& operator=(const FileList&) = delete;

  void addTemplate(const wchar_t* fileNameTemplate);
  void addGivenName(const wchar_t* givenName, const wchar_t* fileNameTemplate = nullptr);
  void addNothing();  // a null description

  const FendrelFileList* record();

 private:
  std::deque<FendrelFileDescription> descriptions_;
  std::vector<const FendrelFileDescription*> files_;
  FendrelFileList list_{};
};

// An export description of paths; a path may be null.
class FilePaths {
 public:
  explicit FilePaths(std::vector<std::wstring> paths);
  FilePaths(const FilePaths&) = delete;
  FilePaths& operator=(const FilePaths&) = delete;

  void addNull();
  const FendrelExportDescription* record();

 private:
  std::vector<std::wstring> paths_;
  std::vector<const wchar_t*> pointers_;
  FendrelExportDescription description_{};
};

// A packed block as a host keeps it, with the encoder's string positions.
std::vector<std::byte> packedOptions(const std::wstring* profileName, const std::wstring* password,
                                     const std::wstring* folderPath, uint16_t destinationType, int sizeCorrection = 0);

DestinationOptions* asOptions(std::vector<std::byte>& block);

}  // namespace fendrel::test
