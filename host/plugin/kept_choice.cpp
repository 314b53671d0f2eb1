#include "kept_choice.h"

#include <fmt/format.h>

#include <cstring>
#include <string_view>

#include "failure.h"
#include "file_handle.h"
#include "new_file.h"
#include "packed_options.h"
#include "paths.h"
#include "posting_kind.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr std::string_view protectedMark = "FendrelProtected";
constexpr LONGLONG largestFile = 1 << 20;  // bytes; no folder path is as long

Failure noChoice(const std::string& source) {
  return Failure(ExitCode::wrongUsage,
                 fmt::format("{} is not a saved choice. \"fendrel choose --save FILE\" makes one.", source));
}

Bytes readWhole(const std::string& file) {
  const std::string source = "'" + printable(file) + "'";
  const FileHandle opened = openToRead(longPath(fullPath(file)));
  if (!opened) throw systemFailure(ExitCode::wrongUsage, source + " cannot be read", GetLastError());
  LARGE_INTEGER size = {};
  if (!GetFileSizeEx(opened.get(), &size) || size.QuadPart > largestFile) throw noChoice(source);
  Bytes bytes(static_cast<std::size_t>(size.QuadPart));
  DWORD read = 0;
  if (!ReadFile(opened.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) || read != bytes.size())
    throw systemFailure(ExitCode::wrongUsage, source + " cannot be read", GetLastError());
  return bytes;
}

bool isProtected(const Bytes& bytes) {
  return bytes.size() >= protectedMark.size() &&
         std::memcmp(bytes.data(), protectedMark.data(), protectedMark.size()) == 0;
}

DestinationOptions headerOf(const Bytes& record) {
  DestinationOptions header;
  std::memcpy(&header, record.data(), sizeof header);
  return header;
}

// The string at an offset from findPackedStrings; empty for 0.
std::wstring stringAt(const Bytes& record, std::uint32_t offset) {
  std::wstring text;
  for (wchar_t unit; offset != 0; offset += sizeof unit) {
    std::memcpy(&unit, record.data() + offset, sizeof unit);
    if (unit == 0) break;
    text += unit;
  }
  return text;
}

}  // namespace

KeptChoice::KeptChoice(Bytes record, const std::string& source) : packed_(std::move(record)) {
  if (packed_.size() < sizeof(DestinationOptions)) throw noChoice(source);
  const DestinationOptions header = headerOf(packed_);
  if (header.packedSize == 0 || !postingRules(header.destinationType).isKnown ||
      header.packedSize != static_cast<std::uint16_t>(packed_.size() - packedSizeShortfall))
    throw noChoice(source);
  const auto strings = findPackedStrings(packed_, sizeof(wchar_t));
  if (!strings) throw noChoice(source);
  profileName_ = stringAt(packed_, strings->profileName);
  if (strings->profilePassword != 0) profilePassword_ = stringAt(packed_, strings->profilePassword);
  path_ = stringAt(packed_, strings->folderPath);
  if (profileName_.empty()) throw noChoice(source);
}

std::uint16_t KeptChoice::type() const { return headerOf(packed_).destinationType; }

KeptChoice KeptChoice::load(const std::string& file) {
  Bytes bytes = readWhole(file);
  if (isProtected(bytes)) bytes = unprotect(std::span(bytes).subspan(protectedMark.size()));
  return KeptChoice(std::move(bytes), "'" + printable(file) + "'");
}

void KeptChoice::save(const std::string& file) const {
  Bytes content = packed_;
  if (profilePassword_) {
    const auto mark = std::as_bytes(std::span(protectedMark));
    content.assign(mark.begin(), mark.end());
    const Bytes hidden = protect(packed_);
    content.insert(content.end(), hidden.begin(), hidden.end());
  }
  const std::wstring target = fullPath(file), name = fileNameOf(target);
  NewFile made(target.substr(0, target.size() - name.size() - 1));
  made.write(content.data(), content.size());
  made.giveName(name, true);
}

}  // namespace fendrel::host
