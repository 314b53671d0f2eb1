// The program's MAPI library must be the one that the plug-in finds by the name "MAPI32.DLL".
#include "mapi_library.h"

#include <gmock/gmock.h>

#include "build_paths.h"
#include "failure.h"
#include "text.h"

namespace fendrel::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

// Until nobody holds it.
void unload(const std::wstring& path) {
  while (const HMODULE module = GetModuleHandleW(path.c_str())) FreeLibrary(module);
}

TEST(MapiLibrary, AnotherLibraryOfThatNameIsNamedAndRefused) {
  const std::wstring first = buildFile(L"tests/stub_mapi/MAPI32.DLL"), second = buildFile(L"bin/store/MAPI32.DLL");
  ASSERT_NE(LoadLibraryW(first.c_str()), nullptr) << GetLastError();
  try {
    host::loadMapi(host::MapiSubsystem::system);
  } catch (const host::Failure&) {  // it lacks functions
  }
  ASSERT_STRCASEEQ(host::toUtf8(host::mapiPath()).c_str(), host::toUtf8(first).c_str());
  EXPECT_NO_THROW(host::checkMapiIsTheOne());

  unload(first);
  ASSERT_NE(LoadLibraryW(second.c_str()), nullptr) << GetLastError();
  try {
    host::checkMapiIsTheOne();
    ADD_FAILURE() << "the other library was taken";
  } catch (const host::Failure& failure) {
    EXPECT_EQ(failure.exitCode(), host::ExitCode::mapiUnusable);
    EXPECT_THAT(failure.what(), AllOf(HasSubstr("stub_mapi"), HasSubstr("store")));
  }
  unload(second);
}

}  // namespace
}  // namespace fendrel::test
