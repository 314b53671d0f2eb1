// The module with all texts, dialogs and bitmaps: a suitable language library beside the plug-in, else the plug-in
// itself.
//
// Threads: one; the state is not guarded.
#pragma once

#include <windows.h>

#include "text_conversion.h"

namespace fendrel {

extern HMODULE g_hModule;       // the plug-in itself, set when it is attached
extern HMODULE g_hResInstance;  // source of resources; equals g_hModule without a language library
extern HMODULE g_hResLibrary;   // the loaded language library, or null

// The required result of a language library's GetResDllVersion.
inline constexpr DWORD resourceLibraryVersion = 0x0A000000;

// Result codes of the string loaders, as the host sees them.
inline constexpr DWORD resourceLoaded = 0;
inline constexpr DWORD resourceOutOfMemory = 2;
inline constexpr DWORD resourceMissing = 7;

// Finds the language library named `baseName` + language in the folder of `hModule` and returns it, also through
// `hResLibrary`; else returns `hModule`. Counted while a library is loaded.
HMODULE LoadResourceModule(HMODULE hModule, const wchar_t* baseName, HMODULE& hResLibrary) noexcept;

// Undoes one LoadResourceModule that found a library; the last one frees it and sets the handle to null.
void FreeResourceModule(HMODULE& hResLibrary) noexcept;

// Loads a string into `buffer` of `size` + 1 characters; longer strings are truncated. 0 or 7.
DWORD LoadResString(UINT id, wchar_t* buffer, int size) noexcept;

// Loads a string of at most 254 characters into a block of exactly its length. 0, 7 or 2.
DWORD LoadResStringAlloc(UINT id, HeapText& result) noexcept;

}  // namespace fendrel
