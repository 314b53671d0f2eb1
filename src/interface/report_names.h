// The report name of each file of an export, by which the posted message is known.
#pragma once

#include <string>

#include "fendrel/fendrel.h"

namespace fendrel {

// The longest report name, in characters; longer ones are cut.
inline constexpr std::size_t maxReportNameLength = 260;

// From the name that the host gives, else from its file-name template, wildcards replaced: "untitled", ".txt". A
// missing description (null) gives "untitled.txt".
std::wstring reportName(const FendrelFileDescription* file);

}  // namespace fendrel
