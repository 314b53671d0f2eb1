// The MAPI headers and what they lack.
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
// Some headers declare methods noexcept, which is part of their type.
template <class Interface, class Argument>
struct OnlyArgument<HRESULT (STDMETHODCALLTYPE Interface::*)(Argument) noexcept> {
  using Type = Argument;
};

// The headers' type for arguments that are ULONG_PTR in the published 64-bit interface: windows, connections and
// bookmarks. The toolchain's headers have a 32-bit ULONG. Each argument has a slot of 8 bytes, so callers of both kinds
// call the same method; only the low 32 bits of such an argument are read, and results fit into them but are written as
// 64 bits.
using UlongPtr = OnlyArgument<decltype(&IMAPITable::Unadvise)>::Type;

}  // namespace fendrel::utility

// The mailbox owner's name of a profile section; missing from some versions of the headers.
#ifndef PR_MAILBOX_OWNER_NAME_W
#define PR_MAILBOX_OWNER_NAME_W PROP_TAG(PT_UNICODE, 0x661B)
#endif
