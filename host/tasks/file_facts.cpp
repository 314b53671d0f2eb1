#include "file_facts.h"

#include <windows.h>
// after windows.h
#include <aclapi.h>
#include <sddl.h>

#include <fmt/format.h>

#include <memory>
#include <vector>

#include "file_handle.h"
#include "paths.h"
#include "text.h"

namespace fendrel::host {
namespace {

struct LocalBlockFree {
  void operator()(void* block) const noexcept { LocalFree(block); }
};
template <class T>
using LocalBlock = std::unique_ptr<T, LocalBlockFree>;

template <class T>
bool readAt(HANDLE file, LONGLONG offset, T& value) {
  LARGE_INTEGER position{.QuadPart = offset};
  DWORD read = 0;
  return SetFilePointerEx(file, position, nullptr, FILE_BEGIN) &&
         ReadFile(file, &value, sizeof value, &read, nullptr) && read == sizeof value;
}

}  // namespace

Bits bitsOf(const std::wstring& file) {
  const FileHandle handle = openToRead(longPath(file), FILE_SHARE_READ | FILE_SHARE_DELETE);
  IMAGE_DOS_HEADER dos;
  struct {
    DWORD signature;
    IMAGE_FILE_HEADER file;
  } header;
  if (!handle || !readAt(handle.get(), 0, dos) || dos.e_magic != IMAGE_DOS_SIGNATURE ||
      !readAt(handle.get(), dos.e_lfanew, header) || header.signature != IMAGE_NT_SIGNATURE)
    return Bits::unknown;
  switch (header.file.Machine) {
    case IMAGE_FILE_MACHINE_I386: return Bits::bits32;
    case IMAGE_FILE_MACHINE_AMD64: return Bits::bits64;
    case IMAGE_FILE_MACHINE_ARM64: return Bits::arm64;
    default: return Bits::unknown;
  }
}

std::string bitsWords(Bits bits) {
  switch (bits) {
    case Bits::bits32: return "32-bit";
    case Bits::bits64: return "64-bit";
    case Bits::arm64: return "64-bit for ARM";
    default: return "not a library";
  }
}

std::string versionOf(const std::wstring& file) {
  DWORD ignored = 0;
  std::vector<char> block(GetFileVersionInfoSizeW(file.c_str(), &ignored));
  VS_FIXEDFILEINFO* facts = nullptr;
  UINT size = 0;
  if (block.empty() || !GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) ||
      !VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&facts), &size) || size < sizeof *facts)
    return {};
  return fmt::format("{}.{}.{}.{}", HIWORD(facts->dwFileVersionMS), LOWORD(facts->dwFileVersionMS),
                     HIWORD(facts->dwFileVersionLS), LOWORD(facts->dwFileVersionLS));
}

std::string ownerOf(const std::wstring& file) {
  PSID owner = nullptr;
  PSECURITY_DESCRIPTOR raw = nullptr;
  if (GetNamedSecurityInfoW(file.c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr,
                            &raw) != ERROR_SUCCESS)
    return {};
  const LocalBlock<void> descriptor(raw);
  wchar_t name[256], domain[256];
  DWORD nameSize = 256, domainSize = 256;
  SID_NAME_USE use;
  if (LookupAccountSidW(nullptr, owner, name, &nameSize, domain, &domainSize, &use))
    return domainSize > 0 ? toUtf8(domain) + '\\' + toUtf8(name) : toUtf8(name);
  wchar_t* text = nullptr;
  if (!ConvertSidToStringSidW(owner, &text)) return {};
  const LocalBlock<wchar_t> identifier(text);
  return toUtf8(identifier.get());
}

}  // namespace fendrel::host
