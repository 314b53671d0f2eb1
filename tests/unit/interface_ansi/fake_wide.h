// Fake wide functions, exported by the test program, which the ANSI layer finds by name.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "fendrel/fendrel.h"

namespace fendrel::test {

struct FakeWide {
  // The functions' results.
  uint32_t initCode = FENDREL_SUCCESS, encodeCode = FENDREL_SUCCESS, decodeCode = FENDREL_SUCCESS;
  uint32_t termCode = FENDREL_SUCCESS;
  const FendrelDestinationList* list = nullptr;
  DWORD listDelay = 0;  // milliseconds
  FendrelResult result{.size = sizeof(FendrelResult)};
  const wchar_t* errorText = L"";
  DestinationOptions* encoded = nullptr;             // given out by the encoder
  std::function<DestinationOptions*()> makeDecoded;  // by the decoder

  // Their recorded calls.
  std::function<void()> atEnd;  // of a job
  LONG listsAsked = 0;          // by any thread
  std::function<void(const FendrelFileList*)> lookAtFiles;
  std::function<void(const FendrelExportDescription*)> lookAtExport;
  std::function<void(const DestinationOptions*)> lookAtOptions;
  HWND parentWindow = nullptr;
  uint32_t hostValue = 0;
  std::vector<FendrelJob> ended;
  std::vector<uint32_t> freedWide, freedAnsi;  // the contexts
  int initialised = 0;
};

inline constexpr FendrelJob fakeJob = 77;

extern FakeWide fake;

}  // namespace fendrel::test
