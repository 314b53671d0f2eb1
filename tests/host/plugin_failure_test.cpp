#include "plugin_failure.h"

#include <gtest/gtest.h>

#include "known_failures.h"

namespace fendrel::host {
namespace {

struct PluginCase {
  std::uint32_t code;
  const wchar_t* text;
  HRESULT meaning;
};
void PrintTo(const PluginCase& each, std::ostream* out) { *out << "code " << each.code; }

class PluginAnswer : public testing::TestWithParam<PluginCase> {};

TEST_P(PluginAnswer, IsUnderstood) {
  const auto translated = [](UINT id) -> std::wstring {
    switch (id) {
      case IDS_NO_RIGHT_TO_POST_FILE: return L"Kein Zugriff.";
      case IDS_NOT_FOUND: return L"Nicht gefunden.";
      default: return L"";
    }
  };
  EXPECT_EQ(pluginFailure(GetParam().code, GetParam().text, translated), GetParam().meaning);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, PluginAnswer,
    testing::Values(PluginCase{FENDREL_SUCCESS, L"", S_OK},
                    PluginCase{FENDREL_OUT_OF_MEMORY, L"", MAPI_E_NOT_ENOUGH_MEMORY},
                    PluginCase{FENDREL_NOT_ENOUGH_DISK, L"", MAPI_E_NOT_ENOUGH_DISK},
                    PluginCase{FENDREL_INVALID_ARGUMENT, L"", MAPI_E_INVALID_PARAMETER},
                    PluginCase{FENDREL_CANCELLED, L"", MAPI_E_USER_CANCEL},
                    PluginCase{FENDREL_FAILED, L"MAPI object not found.", MAPI_E_NOT_FOUND},
                    PluginCase{FENDREL_FAILED, L"Nicht gefunden.", MAPI_E_NOT_FOUND},
                    PluginCase{FENDREL_FAILED, L"Kein Zugriff.", MAPI_E_NO_ACCESS},
                    PluginCase{FENDREL_FAILED, L"MAPI_E_CALL_FAILED", MAPI_E_CALL_FAILED},
                    PluginCase{FENDREL_FAILED, L"MAPI_E_CORRUPT_DATA", MAPI_E_CORRUPT_DATA},
                    PluginCase{FENDREL_FAILED, L"MAPI_E_INVALID_PARAMETER", MAPI_E_INVALID_PARAMETER},
                    PluginCase{FENDREL_FAILED, L"MAPI Error: Fail on provider.", MAPI_E_FAILONEPROVIDER},
                    PluginCase{FENDREL_FAILED, L"Error code 0x80040401 returned.", MAPI_E_TIMEOUT},
                    PluginCase{FENDREL_FAILED, L"Something else.", S_OK}, PluginCase{FENDREL_FAILED, L"", S_OK}));

}  // namespace
}  // namespace fendrel::host
