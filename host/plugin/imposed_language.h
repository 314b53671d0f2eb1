// The language of the plug-in's dialogs, imposed by a global atom as hosts do.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace fendrel::host {

// The codes that can be imposed: de, en, fr, it, jp.
std::vector<std::string> knownLanguages();

// During its lifetime a starting plug-in uses that language, if its library exists. Another program's atom for another
// language may take precedence.
class ImposedLanguage {
 public:
  explicit ImposedLanguage(const std::string& code);
  ~ImposedLanguage();
  ImposedLanguage(const ImposedLanguage&) = delete;
  ImposedLanguage& operator=(const ImposedLanguage&) = delete;

 private:
  ATOM atom_ = 0;
};

}  // namespace fendrel::host
