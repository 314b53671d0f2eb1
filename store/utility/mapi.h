// MAPI as this subsystem sees it: the toolchain's headers and what they lack.
//
// Some of these headers' methods (Advise, Unadvise, CopyTo, CopyMessages, DeleteMessages, CreateBookmark ...) take a
// 32-bit ULONG where the published 64-bit interface has ULONG_PTR. Each argument has an 8-byte slot of its own, so
// callers of either kind reach the same parameter. We keep to two rules that make both work: a handle that we hand
// out fits into 32 bits and is written as 32 bits, and of such an argument only the low 32 bits are read.
#pragma once

#include <windows.h>

#include <mapix.h>
#include <mapiutil.h>

// The mailbox owner's name of a profile section; not in every copy of the headers.
#ifndef PR_MAILBOX_OWNER_NAME_W
#define PR_MAILBOX_OWNER_NAME_W PROP_TAG(PT_UNICODE, 0x661B)
#endif
