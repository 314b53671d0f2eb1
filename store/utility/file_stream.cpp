// OpenStreamOnFile: a stream over a file.
#include <algorithm>
#include <array>
#include <string>

#include "com_object.h"

namespace {

using namespace fendrel::utility;

HRESULT lastResult() {
  switch (const DWORD code = GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND: return MAPI_E_NOT_FOUND;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_WRITE_PROTECT: return MAPI_E_NO_ACCESS;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS: return MAPI_E_COLLISION;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL: return MAPI_E_NOT_ENOUGH_DISK;
    default: return HRESULT_FROM_WIN32(code);
  }
}

class FileStream final : public ComObject<IStream> {
 public:
  FileStream(HANDLE file, DWORD mode) : file_(file), mode_(mode) {}

  STDMETHODIMP Read(void* buffer, ULONG size, ULONG* read) override {
    if (read) *read = 0;
    if (!buffer) return STG_E_INVALIDPOINTER;
    DWORD count = 0;
    if (!ReadFile(file_, buffer, size, &count, nullptr)) return lastResult();
    if (read) *read = count;
    return S_OK;
  }

  STDMETHODIMP Write(const void* buffer, ULONG size, ULONG* written) override {
    if (written) *written = 0;
    if (!buffer) return STG_E_INVALIDPOINTER;
    DWORD count = 0;
    if (!WriteFile(file_, buffer, size, &count, nullptr)) return lastResult();
    if (written) *written = count;
    return S_OK;
  }

  STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
    if (origin > STREAM_SEEK_END) return STG_E_INVALIDFUNCTION;
    LARGE_INTEGER at{};
    if (!SetFilePointerEx(file_, move, &at, origin)) return STG_E_INVALIDFUNCTION;
    if (position) position->QuadPart = static_cast<ULONGLONG>(at.QuadPart);
    return S_OK;
  }

  // The position does not change.
  STDMETHODIMP SetSize(ULARGE_INTEGER size) override {
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(size.QuadPart);
    return SetFileInformationByHandle(file_, FileEndOfFileInfo, &end, sizeof end) ? S_OK : lastResult();
  }

  STDMETHODIMP CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read, ULARGE_INTEGER* written) override {
    if (!target) return STG_E_INVALIDPOINTER;
    std::array<char, 32 * 1024> buffer;
    ULONGLONG readHere = 0, writtenHere = 0;
    HRESULT result = S_OK;
    while (readHere < size.QuadPart) {
      const auto wanted = static_cast<ULONG>(std::min<ULONGLONG>(buffer.size(), size.QuadPart - readHere));
      ULONG count = 0, accepted = 0;
      if (result = Read(buffer.data(), wanted, &count); FAILED(result) || count == 0) break;
      readHere += count;
      result = target->Write(buffer.data(), count, &accepted);
      writtenHere += accepted;
      if (SUCCEEDED(result) && accepted < count) result = STG_E_MEDIUMFULL;
      if (FAILED(result)) break;
    }
    if (read) read->QuadPart = readHere;
    if (written) written->QuadPart = writtenHere;
    return result;
  }

  STDMETHODIMP Commit(DWORD) override {
    return (mode_ & (STGM_WRITE | STGM_READWRITE)) == 0 || FlushFileBuffers(file_) ? S_OK : lastResult();
  }
  // In direct mode there is nothing to revert.
  STDMETHODIMP Revert() override { return S_OK; }
  STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
  STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
  STDMETHODIMP Clone(IStream**) override { return STG_E_INVALIDFUNCTION; }

  STDMETHODIMP Stat(STATSTG* statistics, DWORD) override {
    if (!statistics) return STG_E_INVALIDPOINTER;
    *statistics = {};
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file_, &size)) return lastResult();
    statistics->type = STGTY_STREAM;
    statistics->cbSize.QuadPart = static_cast<ULONGLONG>(size.QuadPart);
    statistics->grfMode = mode_;
    GetFileTime(file_, &statistics->ctime, &statistics->atime, &statistics->mtime);
    return S_OK;
  }

 private:
  ~FileStream() override { CloseHandle(file_); }

  HANDLE file_;
  DWORD mode_;
};

// A new file in the folder `place`, or in the temporary folder.
HRESULT uniqueFile(const wchar_t* place, const wchar_t* prefix, std::wstring& path) {
  wchar_t folder[MAX_PATH + 1] = {}, made[MAX_PATH + 1] = {};
  if (place && *place)
    path = place;
  else if (GetTempPathW(MAX_PATH, folder))
    path = folder;
  if (!GetTempFileNameW(path.c_str(), prefix && *prefix ? prefix : L"MAP", 0, made)) return lastResult();
  path = made;
  return S_OK;
}

HRESULT openStream(ULONG flags, const wchar_t* name, const wchar_t* prefix, LPSTREAM* stream) {
  std::wstring path = name ? name : L"";
  const bool isUnique = (flags & SOF_UNIQUEFILENAME) != 0;
  if (isUnique) {
    if (const HRESULT result = uniqueFile(name, prefix, path); FAILED(result)) return result;
  } else if (path.empty()) {
    return MAPI_E_INVALID_PARAMETER;
  }
  const bool writes = isUnique || (flags & (STGM_WRITE | STGM_READWRITE)) != 0;
  const DWORD access = writes ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ;
  const DWORD how = (flags & STGM_CREATE) ? CREATE_ALWAYS : OPEN_EXISTING;
  const DWORD kind = FILE_ATTRIBUTE_NORMAL | (flags & STGM_DELETEONRELEASE ? FILE_FLAG_DELETE_ON_CLOSE : 0);
  const DWORD sharing = FILE_SHARE_READ | (flags & STGM_DELETEONRELEASE ? FILE_SHARE_DELETE : 0);
  const HANDLE file = CreateFileW(path.c_str(), access, sharing, nullptr, how, kind, nullptr);
  if (file == INVALID_HANDLE_VALUE) return lastResult();
  try {
    auto made = makeObject<FileStream>(file, writes ? STGM_READWRITE : STGM_READ);
    return handOut(made, stream);
  } catch (...) {
    CloseHandle(file);
    throw;
  }
}

std::wstring wide(const char* text) {
  if (!text) return {};
  const int length = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  std::wstring converted(static_cast<std::size_t>(std::max(length, 1)) - 1, L'\0');
  if (!converted.empty()) MultiByteToWideChar(CP_ACP, 0, text, -1, converted.data(), length);
  return converted;
}

}  // namespace

extern "C" {

// The memory functions are not used: the stream is a C++ object.
HRESULT WINAPI fendrelOpenStreamOnFileW(LPALLOCATEBUFFER, LPFREEBUFFER, ULONG flags, LPCWSTR name, LPCWSTR prefix,
                                        LPSTREAM* stream) {
  if (!stream) return MAPI_E_INVALID_PARAMETER;
  *stream = nullptr;
  return guarded([&] { return openStream(flags, name, prefix, stream); });
}

HRESULT WINAPI fendrelOpenStreamOnFile(LPALLOCATEBUFFER, LPFREEBUFFER, ULONG flags, LPCSTR name, LPCSTR prefix,
                                       LPSTREAM* stream) {
  if (!stream) return MAPI_E_INVALID_PARAMETER;
  *stream = nullptr;
  return guarded([&] { return openStream(flags, wide(name).c_str(), wide(prefix).c_str(), stream); });
}

}  // extern "C"
