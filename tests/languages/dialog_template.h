// A dialog template as it lies in a module's resources.
#pragma once

#include <windows.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace fendrel::test {

struct ControlTemplate {
  DWORD style = 0;
  std::int16_t x = 0, y = 0, width = 0, height = 0;  // dialog units
  WORD id = 0;
  std::wstring windowClass;  // an atom as "#80"
  std::wstring text;

  bool hasSameShape(const ControlTemplate& other) const;
};

struct DialogTemplate {
  DWORD style = 0;
  std::int16_t x = 0, y = 0, width = 0, height = 0;
  std::wstring caption;
  WORD fontSize = 0;
  std::wstring font;
  std::vector<ControlTemplate> controls;
};

// The template of that name; without controls when the module has none.
DialogTemplate readDialogTemplate(HMODULE module, const wchar_t* name);

}  // namespace fendrel::test
