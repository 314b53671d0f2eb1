// Maps failures to the host's result codes, and the code that says only "failed" to a text.
#pragma once

#include <windows.h>

#include <cstdint>

namespace fendrel {

// The text of a job's latest failure that has one; never cleared.
class ErrorText {
 public:
  static constexpr int capacity = 299;  // characters, without the terminator

  const wchar_t* get() const noexcept { return text_; }

  // Copies `text`, truncated to the capacity.
  void assign(const wchar_t* text) noexcept;

  // Loads string `id` from the resource module, or uses `fallback`.
  void load(UINT id, const wchar_t* fallback) noexcept;

  // The text of a result without a text of its own.
  void formatCode(HRESULT code) noexcept;

 private:
  wchar_t text_[capacity + 1] = {};
};

// The host's code for `result`: 0, 2, 3, 6, or FENDREL_FAILED, which also sets `errorText`.
std::uint32_t mapResult(HRESULT result, ErrorText& errorText) noexcept;

}  // namespace fendrel
