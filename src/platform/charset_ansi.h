// Shared by the wrappers of the character-set layer on their ANSI path. Not for use outside it.
#pragma once

#include <windows.h>

#include <cstddef>

#include "text_conversion.h"

namespace fendrel::charset {

// An ANSI argument made from a wide one. Null stays null; with `Integers`, an integer resource id or atom stays itself.
// If the text cannot be converted, isOk is false and the last error is 8.
class AnsiArgument {
 public:
  enum class Integers { convertedAsText, kept };

  explicit AnsiArgument(const wchar_t* wide, Integers integers = Integers::convertedAsText) noexcept;

  bool isOk() const noexcept { return ok_; }
  const char* get() const noexcept { return text_; }
  char* writable() noexcept { return converted_.get(); }

 private:
  HeapAnsiText converted_;
  const char* text_ = nullptr;
  bool ok_ = true;
};

// A name that may be an integer resource id or an atom instead of an address.
inline AnsiArgument ansiName(const wchar_t* name) noexcept { return AnsiArgument(name, AnsiArgument::Integers::kept); }

// Converts a list of terminated texts with an extra terminator at the end. Null stays null; null on failure.
HeapAnsiText ansiList(const wchar_t* list) noexcept;

// A zero-filled buffer for an ANSI result, of `size` + 1 bytes. Null, with last error 8, without memory.
HeapAnsiText ansiBuffer(std::size_t size) noexcept;

// Converts an ANSI result back before anything of the caller's is written, in case the conversion fails.
class WideResult {
 public:
  // Converts `length` bytes, including zero bytes, without a trailing lead byte. If they cannot be converted, isOk is
  // false and the last error is 8.
  WideResult(const char* text, int length) noexcept;
  explicit WideResult(const char* text) noexcept;  // up to its terminator; null counts as empty

  bool isOk() const noexcept { return ok_; }
  int length() const noexcept { return length_; }  // characters

  // Copies into the caller's buffer of `size` characters, terminated, truncated if necessary. Returns the characters
  // copied, without the terminator.
  int copyTo(wchar_t* buffer, int size) const noexcept;

 private:
  HeapText text_;
  int length_ = 0;
  bool ok_ = true;
};

// Converts and copies. -1, with the buffer unchanged, if the result cannot be converted.
int copyBack(const char* text, int length, wchar_t* buffer, int size) noexcept;
int copyBack(const char* text, wchar_t* buffer, int size) noexcept;

}  // namespace fendrel::charset
