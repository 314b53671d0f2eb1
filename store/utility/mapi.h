// MAPI as this subsystem sees it: the headers at hand and what they lack.
#pragma once

#include <windows.h>

#include <mapiutil.h>
#include <mapix.h>

namespace fendrel::utility {

template <class Method>
struct OnlyArgument;
template <class Interface, class Argument>
struct OnlyArgument<HRESULT (STDMETHODCALLTYPE Interface::*)(Argument)> {
  using Type = Argument;
};
// Some headers declare that no method throws, which counts in its type.
template <class Interface, class Argument>
struct OnlyArgument<HRESULT (STDMETHODCALLTYPE Interface::*)(Argument) noexcept> {
  using Type = Argument;
};

// What the headers at hand write where the published 64-bit interface has ULONG_PTR: windows, connections and
// bookmarks. The toolchain's own have a 32-bit ULONG there. Each argument has a slot of 8 bytes, so callers of either
// kind reach the same method; of such an argument only the low 32 bits are read, and what is handed out fits into them
// but is written with the published 64.
using UlongPtr = OnlyArgument<decltype(&IMAPITable::Unadvise)>::Type;

}  // namespace fendrel::utility

// The mailbox owner's name of a profile section; not in every copy of the headers.
#ifndef PR_MAILBOX_OWNER_NAME_W
#define PR_MAILBOX_OWNER_NAME_W PROP_TAG(PT_UNICODE, 0x661B)
#endif
