// Holds the result of the last MAPI call and the error record that explains it.
#pragma once

#include "mapi_memory.h"

namespace fendrel {

class CMAPIObject {
 public:
  virtual ~CMAPIObject() = default;

  // Fills lastError for lastResult; returns the MAPI result of that request.
  virtual HRESULT GetLastError() noexcept = 0;

  void FreeLastError() noexcept { lastError.reset(); }

  // The provider's text for a negative lastResult, 8-bit, or null. Owned by the object until the next call.
  const char* GetLastErrorText() noexcept;

  HRESULT lastResult = 0;
  MapiBuffer<MAPIERROR> lastError;
  DWORD valid = 1;
};

}  // namespace fendrel
