// A C heap that makes memory errors fail at once. Linked into a program or a library it replaces malloc, calloc, realloc,
// free and the string duplicators, and with them operator new and delete.
//
// A block is a run of pages of one reservation of 1 GiB, which the heap goes through in a ring:
//
//   no access | data pages, the block at their very end | no access
//
// so that the first byte after a block is unreadable, an underrun of a page is too, and a freed block stays unreadable
// until the ring has come round. A block ends exactly at the page's end: it is aligned to the largest power of two that
// divides its size, at most 16, which is what any object of that size needs.
// An access to such a page, a double free, and a free of anything but a block's start print the block, the offset and
// the module, and end the process with guardedHeapExitCode.
#pragma once

#include <cstddef>

inline constexpr unsigned guardedHeapExitCode = 97;

// The number of blocks of this module that are allocated now.
std::size_t guardedHeapLiveBlocks() noexcept;

// Makes the nth allocation from now on (1: the next) fail; 0: none.
void guardedHeapFail(std::size_t nth) noexcept;
