// A MAPI subsystem under a test's control: MAPI32.DLL is loaded and bound, its functions are mocks.
#pragma once

#include "mapi_heap.h"
#include "mapi_mocks.h"

// Mocked functions; memory comes from a MapiHeap.
class MockMapiFunctions {
 public:
  MOCK_METHOD(HRESULT, initialize, (void*));
  MOCK_METHOD(void, uninitialize, ());
  MOCK_METHOD(HRESULT, logonEx, (ULONG_PTR, wchar_t*, wchar_t*, ULONG, IMAPISession**));
  MOCK_METHOD(HRESULT, getOneProp, (IMAPIProp*, ULONG, SPropValue**));
};

// The full path of the fake library; `folder` is "complete", or "without_NAME" for one that lacks an export.
std::wstring fakeMapiPath(std::wstring_view folder);

// Loads the fake MAPI32.DLL, so that a later load by name finds it, while this object lives. Its functions go to the
// members below.
class FakeMapi {
 public:
  explicit FakeMapi(std::wstring_view folder = L"complete");
  ~FakeMapi();
  FakeMapi(const FakeMapi&) = delete;
  FakeMapi& operator=(const FakeMapi&) = delete;

  HMODULE library() const { return library_; }

  MapiHeap heap;
  testing::StrictMock<MockMapiFunctions> functions;

 private:
  HMODULE library_;
};

// The same, bound for the plug-in's code.
class BoundMapi : public FakeMapi {
 public:
  BoundMapi();
  ~BoundMapi();
};
