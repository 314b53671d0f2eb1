// The end of a process without unloading the plug-in: its objects are not accessed any more.
#include "ansi_test.h"
#include "import_hook.h"

namespace fendrel::test {
namespace {

constexpr const char* runtime = "msvcrt.dll";
constexpr int touched = 70;

const void* watched[3];

void watchFree(void* block) {
  for (const void* const address : watched)
    if (block && block == address) TerminateProcess(GetCurrentProcess(), touched);
  std::free(block);
}

// Ends this process with the plug-in initialised, its names and its list of destinations made.
void endProcess() {
  RecordingMapi mapi;
  mapi.reset(standardWorld());
  static AnsiPlugin plugin;
  static Plugin wide;
  plugin.initialize();
  const FendrelDestinationListA* const list = plugin.getExportDestinations();
  watched[0] = list;
  watched[1] = list->destinations[0]->name;
  watched[2] = wide.getExportDestinations()->destinations[0]->name;
  static const ImportHook hook(runtime, "free", &watchFree, plugin.module());
  ExitProcess(0);
}

TEST(ProcessEnd, FreesNothingOfThePlugins) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(endProcess(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace fendrel::test
