#include "imposed_language.h"

#include <utility>

#include "failure.h"

namespace fendrel::host {
namespace {

constexpr std::pair<const char*, const wchar_t*> languages[] = {
    {"de", L"QLMLCID7"}, {"en", L"QLMLCID9"}, {"fr", L"QLMLCID12"}, {"it", L"QLMLCID16"}, {"jp", L"QLMLCID17"}};

}  // namespace

std::vector<std::string> knownLanguages() {
  std::vector<std::string> codes;
  for (const auto& [code, key] : languages) codes.emplace_back(code);
  return codes;
}

ImposedLanguage::ImposedLanguage(const std::string& code) {
  for (const auto& [known, key] : languages)
    if (code == known) atom_ = GlobalAddAtomW(key);
  if (atom_ == 0) throw systemFailure(ExitCode::failed, "The language '" + code + "' cannot be set", GetLastError());
}

ImposedLanguage::~ImposedLanguage() { GlobalDeleteAtom(atom_); }

}  // namespace fendrel::host
