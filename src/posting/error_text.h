// Failures in the host's terms: the result codes, and the words behind the code that says only "failed".
#pragma once

#include <windows.h>

#include <cstdint>

namespace fendrel {

// The words of a job's latest failure that has any; written only, never cleared.
class ErrorText {
 public:
  static constexpr int capacity = 299;  // characters, without the terminator

  const wchar_t* get() const noexcept { return text_; }

  // Copies `text`, cut to the capacity.
  void assign(const wchar_t* text) noexcept;

  // Loads string `id` from the resource module; `fallback` when that fails.
  void load(UINT id, const wchar_t* fallback) noexcept;

  // The text of a result that has none of its own.
  void formatCode(HRESULT code) noexcept;

 private:
  wchar_t text_[capacity + 1] = {};
};

// The host's code for `result`: 0, 2, 3, 6, or FENDREL_FAILED, for which `errorText` now has the words.
std::uint32_t mapResult(HRESULT result, ErrorText& errorText) noexcept;

}  // namespace fendrel
