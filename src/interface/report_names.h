// The report name of each file of an export; it becomes the message's subject.
#pragma once

#include <string>

#include "fendrel/fendrel.h"

namespace fendrel {

// The longest report name, in characters; longer ones are cut.
inline constexpr std::size_t maxReportNameLength = 260;

// From the host's name, else from its file-name template with wildcards replaced by "untitled" and ".txt". A null
// description gives "untitled.txt".
std::wstring reportName(const FendrelFileDescription* file);

}  // namespace fendrel
