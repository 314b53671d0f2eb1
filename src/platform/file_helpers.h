// Files with one error convention: every function returns a code of file_codes.h.
// Counts are 16-bit, at most 65,534 bytes per call: 65,535 means a failed call and is treated as one.
#pragma once

#include <windows.h>

#include <cstdint>

#include "file_codes.h"
#include "text_conversion.h"

namespace fendrel {

// How a file is opened. Any other access is reading, any other sharing none.
inline constexpr std::uint16_t openForRead = 0, openForWrite = 1, openForReadWrite = 2;
inline constexpr std::uint16_t denyWrite = 0x20, denyRead = 0x30, denyNone = 0x40;

// Where FileSeek counts from.
inline constexpr std::uint16_t seekFromStart = 0, seekFromCurrent = 1, seekFromEnd = 2;

// The code for the calling thread's last system error.
FileCode MapLastError() noexcept;

// Opens an existing file. Every failure is 260.
FileCode FileOpen(const wchar_t* path, std::uint16_t access, std::uint16_t share, HANDLE& handle) noexcept;

// Makes a new file. An existing file is emptied and closed, and the result is 259.
FileCode FileCreate(const wchar_t* path, std::uint16_t access, std::uint16_t share, HANDLE& handle) noexcept;

// `done` receives the bytes read or written; fewer than requested give 264 (read) or 266 (write).
FileCode FileRead(HANDLE handle, std::uint16_t count, std::uint16_t& done, void* buffer) noexcept;
FileCode FileWrite(HANDLE handle, std::uint16_t count, std::uint16_t& done, const void* buffer) noexcept;

FileCode FileWriteLineBreak(HANDLE handle) noexcept;  // UTF-16
FileCode FileWriteEndMark(HANDLE handle) noexcept;    // 0x001A in 16 bits, at the end of the file
FileCode FileFlush(HANDLE handle) noexcept;           // always 0

// Moves by a 32-bit offset. `newPosition` is written on success.
FileCode FileSeek(HANDLE handle, std::uint16_t origin, std::int32_t offset, std::uint32_t& newPosition) noexcept;

FileCode FileClose(HANDLE handle) noexcept;
FileCode FileDelete(const wchar_t* path) noexcept;
FileCode FileMove(const wchar_t* from, const wchar_t* to) noexcept;  // the wide function on every system
bool FileExists(const wchar_t* path) noexcept;

// A name for a temporary report in a new block: that of a new empty file, which is kept, with the extension replaced by
// ".rpt". 0 or 267.
FileCode MakeTempReportName(HeapText& result) noexcept;

}  // namespace fendrel
