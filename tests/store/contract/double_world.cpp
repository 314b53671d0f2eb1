// The contract's world in the recording double.
#include <gtest/gtest.h>

#include <optional>

#include "contract_world.h"
#include "recording_client.h"

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

void dropWorld() {
  const RecordingCounts counts = recording().counts();
  EXPECT_EQ(counts.interfaces, 0u) << recording().liveObjects();
  EXPECT_EQ(counts.buffers, 0u) << recording().liveObjects();
  EXPECT_EQ(counts.sessions, 0u);
  EXPECT_EQ(counts.initialised, 0);
  for (const std::string& fault : recording().faults()) ADD_FAILURE() << fault;
}

}  // namespace contract
