// The language of the plug-in's dialogs, imposed the way a host does: by a global atom.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace fendrel::host {

// The codes that can be imposed: de, en, fr, it, jp.
std::vector<std::string> knownLanguages();

// While it lives, a plug-in that starts takes that language, if its library is there. An atom of another program for
// another language may come first.
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
