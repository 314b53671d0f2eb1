#include "import_hook.h"

#include <gtest/gtest.h>

#include <cstring>

namespace fendrel::test {
namespace {

template <class T>
T* at(HMODULE module, DWORD offset) {
  return reinterpret_cast<T*>(reinterpret_cast<std::byte*>(module) + offset);
}

// The address that the loader filled in for an import, or null.
void** findSlot(HMODULE module, const char* library, const char* function) {
  const auto* const headers =
      at<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(at<IMAGE_DOS_HEADER>(module, 0)->e_lfanew));
  const DWORD imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  if (imports == 0) return nullptr;
  for (const auto* import = at<IMAGE_IMPORT_DESCRIPTOR>(module, imports); import->Name != 0; ++import) {
    if (_stricmp(at<char>(module, import->Name), library) != 0) continue;
    const auto* names = at<IMAGE_THUNK_DATA>(module, import->OriginalFirstThunk);
    auto* slots = at<void*>(module, import->FirstThunk);
    for (; names->u1.AddressOfData != 0; ++names, ++slots) {
      if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
      const auto* const name = at<IMAGE_IMPORT_BY_NAME>(module, static_cast<DWORD>(names->u1.AddressOfData));
      if (std::strcmp(reinterpret_cast<const char*>(name->Name), function) == 0) return slots;
    }
  }
  return nullptr;
}

void store(void** slot, void* value) {
  DWORD protection;
  VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
  *slot = value;
  VirtualProtect(slot, sizeof *slot, protection, &protection);
}

}  // namespace

ImportHook::ImportHook(const char* library, const char* function, void* replacement, HMODULE module)
    : slot_(findSlot(module, library, function)) {
  if (!slot_) {
    ADD_FAILURE() << "the module does not import " << function << " of " << library;
    return;
  }
  original_ = *slot_;
  store(slot_, replacement);
}

bool ImportHook::isImported(const char* library, const char* function, HMODULE module) {
  return findSlot(module, library, function) != nullptr;
}

ImportHook::~ImportHook() {
  if (slot_) store(slot_, original_);
}

}  // namespace fendrel::test
