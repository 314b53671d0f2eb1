// What hosts do with the plug-in, each from a fresh world to the end.
#pragma once

#include <string>
#include <vector>

#include "ansi_test.h"

namespace fendrel::test {

struct Scenario {
  const char* name;
  void (*run)(class ScenarioHost& host);
  unsigned weight;  // how often it is taken in a random round; dialogs take their time
};

extern const std::vector<Scenario> scenarios;

// The plug-in in both sets over the double, and the files that are posted.
class ScenarioHost {
 public:
  explicit ScenarioHost(RecordingMapi& mapi);
  ~ScenarioHost();

  Plugin& wide() { return wide_; }
  AnsiPlugin& ansi() { return ansi_; }
  const std::vector<std::wstring>& files() const { return files_; }

  // Fails the test for a code that the header does not name.
  static void expectDocumented(uint32_t code, const char* function);

  // Runs a scenario in a world that is as it was; afterwards nothing of it is left. `misbehave` plans what the double does.
  void run(const Scenario& scenario, const std::function<void()>& misbehave);

 private:
  RecordingMapi& mapi_;
  World world_ = standardWorld();
  Plugin wide_;
  AnsiPlugin ansi_;
  TempFolder folder_;
  std::vector<std::wstring> files_;
};

}  // namespace fendrel::test
