#include "host_records.h"

#include <cstring>

namespace fendrel::test {

DestinationOptions unpackedOptions(const wchar_t* profileName, const wchar_t* password, const wchar_t* folderPath,
                                   uint16_t destinationType) {
  DestinationOptions options{};
  options.version = FENDREL_OPTIONS_VERSION;
  options.profileName = const_cast<wchar_t*>(profileName);
  options.profilePassword = const_cast<wchar_t*>(password);
  options.folderPath = const_cast<wchar_t*>(folderPath);
  options.destinationType = destinationType;
  return options;
}

FileList::FileList(std::initializer_list<const wchar_t*> templates) {
  for (const wchar_t* const fileNameTemplate : templates) addTemplate(fileNameTemplate);
}

void FileList::addTemplate(const wchar_t* fileNameTemplate) {
  FendrelFileDescription& description = descriptions_.emplace_back();
  description.size = sizeof description;
  description.fileNameTemplate = fileNameTemplate;
  files_.push_back(&description);
}

void FileList::addGivenName(const wchar_t* givenName, const wchar_t* fileNameTemplate) {
  FendrelFileDescription& description = descriptions_.emplace_back();
  description.size = sizeof description;
  description.nameGiven = 1;
  description.givenName = givenName;
  description.fileNameTemplate = fileNameTemplate;
  files_.push_back(&description);
}

void FileList::addNothing() { files_.push_back(nullptr); }

const FendrelFileList* FileList::record() {
  list_.size = sizeof list_;
  list_.fileCount = static_cast<uint16_t>(files_.size());
  list_.files = files_.data();
  return &list_;
}

FilePaths::FilePaths(std::vector<std::wstring> paths) : paths_(std::move(paths)) {
  for (const std::wstring& path : paths_) pointers_.push_back(path.c_str());
}

void FilePaths::addNull() { pointers_.push_back(nullptr); }

const FendrelExportDescription* FilePaths::record() {
  description_.size = sizeof description_;
  description_.fileCount = static_cast<uint16_t>(pointers_.size());
  description_.filePaths = pointers_.data();
  return &description_;
}

std::vector<std::byte> packedOptions(const std::wstring* profileName, const std::wstring* password,
                                     const std::wstring* folderPath, uint16_t destinationType, int sizeCorrection) {
  std::vector<std::byte> block(sizeof(DestinationOptions));
  DestinationOptions header{};
  header.version = FENDREL_OPTIONS_VERSION;
  header.destinationType = destinationType;
  const auto append = [&](const std::wstring* text) -> uint64_t {
    if (!text) return 0;
    const std::size_t offset = block.size();
    const std::size_t size = (text->size() + 1) * sizeof(wchar_t);
    block.resize(offset + size);
    std::memcpy(block.data() + offset, text->c_str(), size);
    return offset;
  };
  header.profileNameOffset = append(profileName);
  header.profilePasswordOffset = append(password);
  header.folderPathOffset = append(folderPath);
  header.packedSize = static_cast<uint16_t>(static_cast<int>(block.size()) + sizeCorrection);
  std::memcpy(block.data(), &header, sizeof header);
  return block;
}

DestinationOptions* asOptions(std::vector<std::byte>& block) {
  return reinterpret_cast<DestinationOptions*>(block.data());
}

}  // namespace fendrel::test
