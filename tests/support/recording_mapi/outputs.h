// What a call hands out, so that a planned answer can change it.
#pragma once

#include <mapix.h>
#include <windows.h>

#include "recording_mapi.h"

namespace recording {

struct Answer {
  RecordingAnswer kind;
  int column = -1;  // of values only that one; -1: all
};

// The addresses that the caller gave; null for those that the call does not have.
struct Outputs {
  IUnknown** object = nullptr;
  ULONG* objectType = nullptr;
  void** block = nullptr;
  ULONG* count = nullptr;
  SPropValue** values = nullptr;
  SRowSet** rows = nullptr;
  ULONG* written = nullptr;

  // The answers that fit what was handed out, as bits.
  uint32_t answers() const;

  // Changes what was handed out; false when there is nothing of the kind.
  bool change(Answer answer) const;
};

// An interface that is handed out through its own kind of pointer.
template <class Interface>
IUnknown** asObject(Interface** object) {
  return reinterpret_cast<IUnknown**>(object);
}

}  // namespace recording
