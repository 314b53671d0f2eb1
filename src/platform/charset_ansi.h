// What the wrappers of the character-set layer share on their ANSI path. Not for use outside it.
#pragma once

#include <windows.h>

#include <cstddef>

#include "text_conversion.h"

namespace fendrel::charset {

// An ANSI argument made of a wide one. Null stays null; with `Integers`, so does an integer resource id or atom.
// When the text cannot be converted, isOk is false and the last error 8.
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

// A name that may be an integer resource id or an atom in the place of an address.
inline AnsiArgument ansiName(const wchar_t* name) noexcept { return AnsiArgument(name, AnsiArgument::Integers::kept); }

// Makes a list of texts, each with its terminator and a further one at the end. Null stays null; null on failure.
HeapAnsiText ansiList(const wchar_t* list) noexcept;

// A zero-filled buffer for an ANSI result of at most `size` bytes, with one byte more. Null, with last error 8, when
// there is no memory.
HeapAnsiText ansiBuffer(std::size_t size) noexcept;

// An ANSI result on its way back: converted first, so that nothing of the caller's is touched when that fails.
class WideResult {
 public:
  // Converts `length` bytes, zero bytes among them, without the first half of a character at their end. When they
  // cannot be converted, isOk is false and the last error 8.
  WideResult(const char* text, int length) noexcept;
  explicit WideResult(const char* text) noexcept;  // up to its terminator; a null text is an empty one

  bool isOk() const noexcept { return ok_; }
  int length() const noexcept { return length_; }  // characters

  // Copies into the caller's buffer of `size` characters, ended by a zero; what does not fit is cut. The characters
  // copied, without the terminator.
  int copyTo(wchar_t* buffer, int size) const noexcept;

 private:
  HeapText text_;
  int length_ = 0;
  bool ok_ = true;
};

// Converts and copies in one. -1, with the buffer as it was, when the result cannot be converted.
int copyBack(const char* text, int length, wchar_t* buffer, int size) noexcept;
int copyBack(const char* text, wchar_t* buffer, int size) noexcept;

}  // namespace fendrel::charset
