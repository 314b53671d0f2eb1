#include "resource_module.h"

#include <cwchar>
#include <string>
#include <string_view>

#include "charset.h"
#include "path_parts.h"

namespace fendrel {

HMODULE g_hModule;
HMODULE g_hResInstance;
HMODULE g_hResLibrary;

namespace {

struct Language {
  WORD primaryId;
  wchar_t key[10];  // a global atom of this name imposes the language
  wchar_t code[3];
};

constexpr Language
    languages[] =
        {
            {LANG_GERMAN, L"QLMLCID7", L"de"},    {LANG_ENGLISH, L"QLMLCID9", L"en"},
            {LANG_FRENCH, L"QLMLCID12", L"fr"},   {LANG_ITALIAN, L"QLMLCID16", L"it"},
            {LANG_JAPANESE, L"QLMLCID17", L"jp"},  // not the ISO code (docs/compatibility.md)
};

WORD g_libraryCount;

std::wstring userLanguageCode() {
  for (const Language& language : languages)
    if (charset::globalFindAtom(language.key) != 0) return language.code;
  wchar_t code[258] = {};
  charset::getProfileString(L"intl", L"sLanguage", L"", code, static_cast<DWORD>(std::size(code)));
  return code;
}

// The library, if it loads, exports GetResDllVersion and has the right version; else null.
HMODULE loadCandidate(const std::wstring& path) noexcept {
  const UINT errorMode = SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  HMODULE library = charset::loadLibrary(path.c_str());
  SetErrorMode(errorMode);
  if (!library) return nullptr;
  const auto version = reinterpret_cast<DWORD (*)()>(GetProcAddress(library, "GetResDllVersion"));
  if (version && version() == resourceLibraryVersion) return library;
  FreeLibrary(library);
  return nullptr;
}

HMODULE findLibrary(HMODULE hModule, std::wstring_view baseName) {
  wchar_t modulePath[260];
  const DWORD length = charset::getModuleFileName(hModule, modulePath, 260);
  if (length == 0 || length >= 260) return nullptr;
  const PathParts<wchar_t> module = splitPath(std::wstring_view(modulePath, length));
  std::wstring folder(module.drive);
  folder += module.directory;

  const auto candidate = [&](std::wstring_view suffix) {
    std::wstring path = folder;
    path.append(baseName.substr(0, 256)).append(suffix).append(L".dll");
    return loadCandidate(path);
  };

  if (HMODULE library = candidate(L"xx")) return library;
  const std::wstring code = userLanguageCode();
  if (code.size() < 2) return nullptr;
  for (size_t prefix = code.size(); prefix >= 2; --prefix)
    if (HMODULE library = candidate(std::wstring_view(code).substr(0, prefix))) return library;
  return candidate(L"res");
}

}  // namespace

HMODULE LoadResourceModule(HMODULE hModule, const wchar_t* baseName, HMODULE& hResLibrary) noexcept {
  if (hResLibrary) {
    ++g_libraryCount;
    return hResLibrary;
  }
  g_libraryCount = 0;
  try {
    hResLibrary = findLibrary(hModule, baseName);
  } catch (...) {
    hResLibrary = nullptr;
  }
  if (!hResLibrary) return hModule;
  ++g_libraryCount;
  return hResLibrary;
}

void FreeResourceModule(HMODULE& hResLibrary) noexcept {
  if (!hResLibrary || --g_libraryCount != 0) return;
  FreeLibrary(hResLibrary);
  hResLibrary = nullptr;
}

DWORD LoadResString(UINT id, wchar_t* buffer, int size) noexcept {
  return charset::loadString(g_hResInstance, id, buffer, size + 1) > 0 ? resourceLoaded : resourceMissing;
}

DWORD LoadResStringAlloc(UINT id, HeapText& result) noexcept {
  result.reset();
  wchar_t text[256];
  if (LoadResString(id, text, 254) != resourceLoaded) return resourceMissing;
  result.reset(_wcsdup(text));
  return result ? resourceLoaded : resourceOutOfMemory;
}

}  // namespace fendrel
