// The contract's world in the recording double.
#include <gtest/gtest.h>

#include <optional>

#include "basic_rules.h"
#include "contract_world.h"

using fendrel::test::expectBasicRules;
using fendrel::test::RecordingMapi;
using fendrel::test::World;

namespace {

RecordingMapi& recording() {
  static RecordingMapi one;
  return one;
}

}  // namespace

const LocalMapi& mapi() {
  static const LocalMapi loaded = contract::loadMapi(L"tests/double/MAPI32.DLL");
  return loaded;
}

namespace contract {

void makeWorld(const wchar_t* password, const std::vector<std::wstring>& foldersInReports) {
  ASSERT_EQ(mapi().module, recording().module());
  World world = fendrel::test::standardWorld();
  world.profiles = {{L"Ada", password}};
  world.folders.clear();
  const int reports = world.addFolder(1, World::subtree, L"Reports");
  for (const std::wstring& name : foldersInReports) world.addFolder(1, reports, name.c_str());
  recording().reset(world);
}

void dropWorld() { expectBasicRules(recording()); }

}  // namespace contract
