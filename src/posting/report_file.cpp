#include "report_file.h"

#include <new>

#include "charset.h"

namespace fendrel {
namespace {

constexpr DWORD bufferSize = 32768;  // a read uses only the first part
constexpr DWORD readSize = 4096;

struct HandleClose {
  using pointer = HANDLE;
  void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using FileHandle = std::unique_ptr<void, HandleClose>;

FileHandle openForReading(const wchar_t* path) noexcept {
  try {
    const HANDLE handle = charset::createFile(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                              FILE_ATTRIBUTE_NORMAL, nullptr);
    return FileHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
  } catch (int) {  // the name does not convert for the system
    return nullptr;
  }
}

HRESULT lastErrorResult() noexcept {
  const DWORD error = ::GetLastError();
  if (error == 0) return MAPI_E_CALL_FAILED;  // a failure must not look like the end of the file
  return static_cast<LONG>(error) > 0 ? static_cast<HRESULT>(0x80070000 | (error & 0xFFFF))
                                      : static_cast<HRESULT>(error);
}

HRESULT copyBytes(HANDLE file, BYTE* buffer, IStream* stream) noexcept {
  for (;;) {
    DWORD count = 0;
    if (!ReadFile(file, buffer, readSize, &count, nullptr)) return lastErrorResult();
    if (count != 0) {
      ULONG written = count;  // all, if the stream does not say
      if (const HRESULT result = stream->Write(buffer, count, &written); FAILED(result)) return result;
      if (written < count) return MAPI_E_CALL_FAILED;
    }
    if (count != readSize) return S_OK;
  }
}

HRESULT copyFile(const wchar_t* path, BYTE* buffer, IAttach* attachment) noexcept {
  ComPtr<IUnknown> object;
  const HRESULT result = attachment->OpenProperty(PR_ATTACH_DATA_BIN, &IID_IStream, STGM_CREATE | STGM_WRITE,
                                                  MAPI_CREATE | MAPI_MODIFY, &object);
  if (FAILED(result)) return result;
  if (!object) return MAPI_E_CALL_FAILED;
  const FileHandle file = openForReading(path);
  if (!file) return MAPI_E_CALL_FAILED;
  // The object has the requested interface.
  return copyBytes(file.get(), buffer, static_cast<IStream*>(object.Get()));
}

}  // namespace

HRESULT copyFileIntoAttachment(const wchar_t* path, IAttach* attachment) noexcept {
  const std::unique_ptr<BYTE[]> buffer(new (std::nothrow) BYTE[bufferSize]);
  if (!buffer || !attachment || !path) return MAPI_E_INVALID_PARAMETER;
  const HRESULT result = copyFile(path, buffer.get(), attachment);
  if (SUCCEEDED(result)) attachment->SaveChanges(0);
  return result;
}

}  // namespace fendrel
