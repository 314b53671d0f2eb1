#include "dialog_template.h"

#include <cstring>
#include <tuple>

namespace fendrel::test {
namespace {

// Steps through the words of a template.
class Reader {
 public:
  explicit Reader(const void* start) : at_(static_cast<const std::byte*>(start)) {}

  template <class T>
  T read() {
    T value;
    std::memcpy(&value, at_, sizeof value);
    at_ += sizeof value;
    return value;
  }

  std::wstring text() {
    std::wstring result;
    while (const auto character = read<wchar_t>()) result += character;
    return result;
  }

  // A text, or an ordinal as "#80".
  std::wstring name() {
    WORD first;
    std::memcpy(&first, at_, sizeof first);
    if (first != 0xFFFF) return text();
    at_ += sizeof first;
    wchar_t ordinal[8];
    wsprintfW(ordinal, L"#%x", read<WORD>());
    return ordinal;
  }

  void alignToDword() { at_ += (4 - reinterpret_cast<std::uintptr_t>(at_) % 4) % 4; }

 private:
  const std::byte* at_;
};

template <class Template>
void readRectangle(Reader& reader, Template& result) {
  result.x = reader.read<std::int16_t>();
  result.y = reader.read<std::int16_t>();
  result.width = reader.read<std::int16_t>();
  result.height = reader.read<std::int16_t>();
}

}  // namespace

bool ControlTemplate::hasSameShape(const ControlTemplate& other) const {
  return std::tie(style, x, y, width, height, id, windowClass) ==
         std::tie(other.style, other.x, other.y, other.width, other.height, other.id, other.windowClass);
}

DialogTemplate readDialogTemplate(HMODULE module, const wchar_t* name) {
  DialogTemplate result;
  const HRSRC resource = FindResourceW(module, name, RT_DIALOG);
  if (!resource) return result;
  Reader reader(LockResource(LoadResource(module, resource)));
  result.style = reader.read<DWORD>();
  reader.read<DWORD>();  // extended style
  const auto count = reader.read<WORD>();
  readRectangle(reader, result);
  reader.name();  // menu
  reader.name();  // class
  result.caption = reader.text();
  if (result.style & DS_SETFONT) {
    result.fontSize = reader.read<WORD>();
    result.font = reader.text();
  }
  for (WORD index = 0; index < count; ++index) {
    ControlTemplate& control = result.controls.emplace_back();
    reader.alignToDword();
    control.style = reader.read<DWORD>();
    reader.read<DWORD>();
    readRectangle(reader, control);
    control.id = reader.read<WORD>();
    control.windowClass = reader.name();
    control.text = reader.name();
    reader.read<WORD>();  // creation data: none
  }
  return result;
}

}  // namespace fendrel::test
