#include "kept_choice.h"

#include <fmt/format.h>

#include <cstring>
#include <memory>
#include <string_view>

#include "failure.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr std::string_view protectedMark = "FendrelProtected";
constexpr LONGLONG largestFile = 1 << 20;  // bytes; longer strings than this holds are no folder's path

struct HandleCloser {
  void operator()(void* handle) const noexcept { CloseHandle(handle); }
};
using File = std::unique_ptr<void, HandleCloser>;

File openFile(const std::wstring& path, DWORD access, DWORD disposition) {
  const HANDLE handle =
      CreateFileW(longPath(path).c_str(), access, FILE_SHARE_READ, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  return File(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

Failure noChoice(const std::string& source) {
  return Failure(ExitCode::wrongUsage,
                 fmt::format("{} is not a saved choice. \"fendrel choose --save FILE\" makes one.", source));
}

Bytes readWhole(const std::string& file) {
  const std::string source = "'" + printable(file) + "'";
  const File opened = openFile(fullPath(file), GENERIC_READ, OPEN_EXISTING);
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

}  // namespace

KeptChoice::KeptChoice(Bytes record, const std::string& source) : packed(std::move(record)) {
  if (packed.size() < sizeof(DestinationOptions)) throw noChoice(source);
  const DestinationOptions header = headerOf(packed);
  const bool typeKnown = header.destinationType == FENDREL_PERSONAL_REPORT ||
                         header.destinationType == FENDREL_FOLDER_REPORT ||
                         header.destinationType == FENDREL_REPORT_INSTANCE;
  if (header.packedSize == 0 || !typeKnown ||
      header.packedSize != static_cast<std::uint16_t>(packed.size() - packedSizeShortfall))
    throw noChoice(source);
  profileName = stringAt(header.profileNameOffset, source).value_or(std::wstring());
  profilePassword = stringAt(header.profilePasswordOffset, source);
  path = stringAt(header.folderPathOffset, source).value_or(std::wstring());
  if (profileName.empty()) throw noChoice(source);
}

std::optional<std::wstring> KeptChoice::stringAt(std::uint64_t offset, const std::string& source) const {
  if (offset == 0) return std::nullopt;
  std::wstring text;
  for (; offset >= sizeof(DestinationOptions) && offset + sizeof(wchar_t) <= packed.size(); offset += sizeof(wchar_t)) {
    wchar_t character;
    std::memcpy(&character, packed.data() + offset, sizeof character);
    if (character == 0) return text;
    text += character;
  }
  throw noChoice(source);
}

std::uint16_t KeptChoice::type() const { return headerOf(packed).destinationType; }

KeptChoice KeptChoice::load(const std::string& file) {
  Bytes bytes = readWhole(file);
  if (isProtected(bytes)) bytes = unprotect(std::span(bytes).subspan(protectedMark.size()));
  return KeptChoice(std::move(bytes), "'" + printable(file) + "'");
}

void KeptChoice::save(const std::string& file) const {
  Bytes content = packed;
  if (profilePassword) {
    const auto mark = std::as_bytes(std::span(protectedMark));
    content.assign(mark.begin(), mark.end());
    const Bytes hidden = protect(packed);
    content.insert(content.end(), hidden.begin(), hidden.end());
  }
  const std::wstring target = fullPath(file);
  const std::wstring unfinished = target + L".part";
  const auto failed = [&file] {
    return systemFailure(ExitCode::failed, fmt::format("The choice cannot be saved as '{}'", printable(file)),
                         GetLastError());
  };
  {
    const File made = openFile(unfinished, GENERIC_WRITE, CREATE_ALWAYS);
    DWORD written = 0;
    if (!made || !WriteFile(made.get(), content.data(), static_cast<DWORD>(content.size()), &written, nullptr) ||
        written != content.size() || !FlushFileBuffers(made.get()))
      throw failed();
  }
  if (!MoveFileExW(longPath(unfinished).c_str(), longPath(target).c_str(), MOVEFILE_REPLACE_EXISTING)) throw failed();
}

}  // namespace fendrel::host
