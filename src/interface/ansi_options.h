// Converts options records between an ANSI host and the wide functions.
// The conversions take only records of version 2 or more, but every record that the plug-in makes has version 1 until
// its host raises it. To the wide functions the ANSI set is a host: it raises the version of records that it passes on.
#pragma once

#include "ansi_job.h"

namespace fendrel {

// The host's options for the wide set-up: converted, or unchanged if the module has no conversions. 0, 2 or 5.
std::uint32_t toWideOptions(DestinationOptionsA* ansi, WideOptions& converted, DestinationOptions*& options) noexcept;

// Converts a record of the wide functions; its version does not change. 0, 2 or 5.
std::uint32_t toAnsiOptions(DestinationOptions& options, AnsiOptions& ansi, std::uint16_t* size) noexcept;

}  // namespace fendrel
