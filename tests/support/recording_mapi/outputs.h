// The results of a call, so that a planned answer can change them.
#pragma once

#include <mapix.h>
#include <windows.h>

#include "recording_mapi.h"

namespace recording {

struct Answer {
  RecordingAnswer kind;
  int column = -1;  // of values only that one; -1: all
};

// The caller's out-parameters; null for those that the call does not have.
struct Outputs {
  IUnknown** object = nullptr;
  ULONG* objectType = nullptr;
  void** block = nullptr;
  ULONG* count = nullptr;
  SPropValue** values = nullptr;
  SRowSet** rows = nullptr;
  ULONG* written = nullptr;

  // The answers that fit the results, as bits.
  uint32_t answers() const;

  // Changes the results; false if there is nothing to change.
  bool change(Answer answer) const;
};

// An interface that is handed out through its own kind of pointer.
template <class Interface>
IUnknown** asObject(Interface** object) {
  return reinterpret_cast<IUnknown**>(object);
}

}  // namespace recording
