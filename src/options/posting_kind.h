// The kinds of posting and all their differences: a new kind is a line of the enum and of the switch.
#pragma once

#include <cstdint>

#include "fendrel/fendrel.h"

namespace fendrel {

// The values are those of the options record and of the radio buttons in the kind dialog.
enum class PostingKind : std::uint16_t {
  personalReport = FENDREL_PERSONAL_REPORT,
  folderReport = FENDREL_FOLDER_REPORT,
  reportInstance = FENDREL_REPORT_INSTANCE
};

struct PostingRules {
  bool isKnown;
  bool intoCommonViews;  // of the default store; else the folder of the path
  bool templateMode;     // if no options were supplied
};

// The rules for a value from a host's record. An unknown one posts by path: a silent set-up accepts it, an interactive
// one refuses it.
constexpr PostingRules postingRules(std::uint16_t type) noexcept {
  switch (static_cast<PostingKind>(type)) {
    case PostingKind::personalReport: return {true, true, true};
    case PostingKind::folderReport: return {true, false, true};
    case PostingKind::reportInstance: return {true, false, false};
  }
  return {false, false, true};
}

}  // namespace fendrel
