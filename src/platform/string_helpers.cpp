#include "string_helpers.h"

#include <cstring>
#include <cwchar>

namespace fendrel {

void StripTrailingSlash(wchar_t* path) noexcept {
  const std::size_t length = path ? std::wcslen(path) : 0;
  if (length != 0 && (path[length - 1] == L'/' || path[length - 1] == L'\\')) path[length - 1] = 0;
}

int DupWide(HeapText& result, const wchar_t* text) noexcept {
  result.reset(text ? _wcsdup(text) : nullptr);
  return result ? 1 : 0;
}

int AnsiToWideNew(const char* text, HeapText& result) noexcept {
  result.reset();
  if (!text) return 0;
  const int length = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  if (length <= 0) return 0;
  result.reset(static_cast<wchar_t*>(std::calloc(2 * static_cast<std::size_t>(length), sizeof(wchar_t))));
  const int written = result ? MultiByteToWideChar(CP_ACP, 0, text, -1, result.get(), length) : 0;
  if (written == 0) result.reset();
  return written;
}

bool ByteBufferAssign(ByteBuffer& buffer, std::uint32_t size, const void* data) noexcept {
  // The new bytes may be part of the old ones.
  std::unique_ptr<std::byte[], HeapFree> copy;
  if (size != 0 && data) copy.reset(static_cast<std::byte*>(std::malloc(size)));
  if (copy) std::memcpy(copy.get(), data, size);
  buffer.data = std::move(copy);
  buffer.size = buffer.data ? size : 0;
  return buffer.data != nullptr;
}

void ByteBufferFree(ByteBuffer& buffer) noexcept { buffer = {}; }

}  // namespace fendrel
