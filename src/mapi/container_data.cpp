#include "container_data.h"

#include <cstring>
#include <cwchar>

#include "format_string.h"

namespace fendrel {
namespace {

HeapText copyOf(const wchar_t* text) noexcept { return HeapText(text ? _wcsdup(text) : nullptr); }

// "parent@name", or null without memory.
HeapText joined(const wchar_t* parentLabel, const wchar_t* name) noexcept {
  const std::size_t count = std::wcslen(parentLabel) + 1 + std::wcslen(name) + 1;
  HeapText text(static_cast<wchar_t*>(std::malloc(count * sizeof(wchar_t))));
  if (text) FormatString(text.get(), count, L"%ls@%ls", parentLabel, name);
  return text;
}

}  // namespace

CContainerData::CContainerData(IMAPISession* borrowedSession, BinaryView identifier, const wchar_t* name,
                               bool mayHaveSubfolders) noexcept
    : displayName(copyOf(name)), hasSubfolders(mayHaveSubfolders), session(borrowedSession) {
  if (!identifier.empty()) {
    entryId.reset(static_cast<std::byte*>(std::malloc(identifier.size())));
    if (!entryId) return;
    entryIdSize = sizeArgument(identifier);
    std::memcpy(entryId.get(), identifier.data(), identifier.size());
  }
  valid = displayName != nullptr;
}

void CContainerData::setLabel(const CContainerData& parentContainer) noexcept {
  if (!displayName) return;
  label = parentContainer.label ? joined(parentContainer.label.get(), displayName.get()) : copyOf(displayName.get());
}

}  // namespace fendrel
