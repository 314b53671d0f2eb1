#include "pe_image.h"

#include <windows.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fendrel::test {
namespace {

class Reader {
 public:
  explicit Reader(const std::wstring& path) {
    std::ifstream stream(std::filesystem::path(path), std::ios::binary);
    if (!stream) throw std::runtime_error("a module cannot be read");
    bytes_.assign(std::istreambuf_iterator<char>(stream), {});
    headers_ = at<IMAGE_NT_HEADERS64>(at<IMAGE_DOS_HEADER>(0)->e_lfanew);
    if (headers_->Signature != IMAGE_NT_SIGNATURE) throw std::runtime_error("not a module");
  }

  template <class T>
  const T* at(std::size_t offset) const {
    if (offset + sizeof(T) > bytes_.size()) throw std::runtime_error("a module's table leads out of its file");
    return reinterpret_cast<const T*>(bytes_.data() + offset);
  }

  // Null when the module has no such table.
  template <class T>
  const T* directory(int index) const {
    const DWORD address = headers_->OptionalHeader.DataDirectory[index].VirtualAddress;
    return address ? inMemory<T>(address) : nullptr;
  }

  // The data that the loader puts at that address.
  template <class T>
  const T* inMemory(DWORD address) const {
    return at<T>(offsetOf(address));
  }

  // The offset of that address in the file.
  std::size_t offsetOf(DWORD address) const {
    const IMAGE_SECTION_HEADER* section = IMAGE_FIRST_SECTION(const_cast<IMAGE_NT_HEADERS64*>(headers_));
    for (WORD index = 0; index < headers_->FileHeader.NumberOfSections; ++index, ++section)
      if (address >= section->VirtualAddress && address < section->VirtualAddress + section->SizeOfRawData)
        return address - section->VirtualAddress + section->PointerToRawData;
    throw std::runtime_error("a module's table leads into no section");
  }

  // The addresses of the exports' names.
  std::vector<DWORD> exportNames() const {
    std::vector<DWORD> names;
    if (const auto* const table = directory<IMAGE_EXPORT_DIRECTORY>(IMAGE_DIRECTORY_ENTRY_EXPORT))
      for (DWORD index = 0; index < table->NumberOfNames; ++index)
        names.push_back(*inMemory<DWORD>(table->AddressOfNames + index * static_cast<DWORD>(sizeof(DWORD))));
    return names;
  }

  const std::vector<char>& bytes() const { return bytes_; }

 private:
  std::vector<char> bytes_;
  const IMAGE_NT_HEADERS64* headers_ = nullptr;
};

std::string lowered(std::string text) {
  std::ranges::transform(text, text.begin(), [](unsigned char character) { return std::tolower(character); });
  return text;
}

}  // namespace

PeImage::PeImage(const std::wstring& path) {
  const Reader module(path);
  for (const DWORD name : module.exportNames()) exports.emplace_back(module.inMemory<char>(name));
  for (const auto* entry = module.directory<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT);
       entry && entry->Name != 0; ++entry)
    imports.push_back(lowered(module.inMemory<char>(entry->Name)));
}

void copyWithoutExport(const std::wstring& path, const std::string& name, const std::wstring& copy) {
  const Reader module(path);
  std::vector<char> bytes = module.bytes();
  const auto names = module.exportNames();
  const auto found = std::ranges::find_if(names, [&](DWORD each) { return name == module.inMemory<char>(each); });
  if (found == names.end()) throw std::runtime_error("the module does not export " + name);
  // The next letter at the end: the loader looks names up in a sorted list.
  ++bytes[module.offsetOf(*found) + name.size() - 1];
  std::ofstream stream(std::filesystem::path(copy), std::ios::binary);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!stream.flush()) throw std::runtime_error("the copy of a module cannot be written");
}

}  // namespace fendrel::test
