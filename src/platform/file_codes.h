// The result codes that the file helpers and the tagged streams share. Portable.
#pragma once

#include <cstdint>

namespace fendrel {

using FileCode = std::uint16_t;

inline constexpr FileCode fileSuccess = 0;
inline constexpr FileCode fileOtherFailure = 257;  // also: not supported by this kind of stream
inline constexpr FileCode fileAlreadyExists = 259;
inline constexpr FileCode fileNotFound = 260;      // also: could not be opened
inline constexpr FileCode fileAccessDenied = 261;  // also: a read or write failed
inline constexpr FileCode fileTooManyOpen = 262;
inline constexpr FileCode fileInvalidHandle = 263;  // also: no direct access to a value in a file
inline constexpr FileCode fileEnd = 264;            // also: fewer bytes read than requested
inline constexpr FileCode fileSeekFailed = 265;
inline constexpr FileCode fileDiskFull = 266;  // also: fewer bytes written than requested
inline constexpr FileCode fileOutOfMemory = 267;
inline constexpr FileCode fileMalformed = 268;  // an invalid item of a tagged stream
inline constexpr FileCode fileNoMore = 269;     // the search has no further file

}  // namespace fendrel
