// Uses of the plug-in by hosts, each from a new world to the end.
#pragma once

#include <string>
#include <vector>

#include "ansi_test.h"

namespace fendrel::test {

struct Scenario {
  const char* name;
  void (*run)(class ScenarioHost& host);
  unsigned weight;  // how often random rounds choose it; dialogs are slow
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

  // Runs a scenario in a new world; afterwards nothing must be left. `misbehave` plans the double's behaviour.
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
