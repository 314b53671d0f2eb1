#include "bound_mapi.h"

#include <string>

#include "build_paths.h"
#include "fake_mapi/fake_mapi.h"
#include "mapi_binding.h"

namespace {

FakeMapi* current;

constexpr FakeMapiFunctions forwarded = {
    .initialize = [](void* init) -> HRESULT { return current->functions.initialize(init); },
    .uninitialize = [] { current->functions.uninitialize(); },
    .logonEx = [](ULONG_PTR window, wchar_t* profile, wchar_t* password, ULONG flags, IMAPISession** session)
        -> HRESULT { return current->functions.logonEx(window, profile, password, flags, session); },
    .allocateBuffer = [](ULONG size, void** block) -> SCODE { return current->heap.allocate(size, block); },
    .allocateMore = [](ULONG size, void* top, void** block) -> SCODE {
      return current->heap.allocateMore(size, top, block);
    },
    .freeBuffer = [](void* block) -> ULONG { return current->heap.free(block); },
    .getOneProp = [](IMAPIProp* object, ULONG tag, SPropValue** value) -> HRESULT {
      return current->functions.getOneProp(object, tag, value);
    },
};

}  // namespace

std::wstring fakeMapiPath(std::wstring_view folder) {
  return buildFile(L"tests/fake_mapi/" + std::wstring(folder) + L"/MAPI32.DLL");
}

FakeMapi::FakeMapi(std::wstring_view folder) : library_(LoadLibraryW(fakeMapiPath(folder).c_str())) {
  EXPECT_NE(library_, nullptr) << "the fake MAPI32.DLL does not load";
  current = this;
  const auto connect = reinterpret_cast<decltype(&fakeMapiConnect)>(GetProcAddress(library_, "fakeMapiConnect"));
  EXPECT_NE(connect, nullptr);
  if (connect) connect(&forwarded);
}

FakeMapi::~FakeMapi() {
  FreeLibrary(library_);
  current = nullptr;
}

BoundMapi::BoundMapi() {
  EXPECT_TRUE(fendrel::BindMapi());
  EXPECT_EQ(fendrel::mapi().module, library()) << "another MAPI32.DLL was bound";
}

BoundMapi::~BoundMapi() { fendrel::UnbindMapi(); }
