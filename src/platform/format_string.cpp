#include "format_string.h"

#include <cstdarg>
#include <cstdio>
#include <cwchar>

namespace fendrel {

int FormatString(wchar_t* buffer, std::size_t count, const wchar_t* format, ...) noexcept {
  if (!buffer || count == 0) return 0;
  std::va_list arguments;
  va_start(arguments, format);
  _vsnwprintf(buffer, count - 1, format, arguments);
  va_end(arguments);
  buffer[count - 1] = 0;
  return static_cast<int>(std::wcslen(buffer));
}

}  // namespace fendrel
