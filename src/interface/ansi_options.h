// Options records on their way between an ANSI host and the wide functions.
//
// The conversions take only records of version 2 or more, while every record that the plug-in makes carries 1 until its
// host raises it. Towards the wide functions the ANSI set is such a host: it raises the version of what it passes on.
#pragma once

#include "ansi_job.h"

namespace fendrel {

// The host's options as the wide set-up takes them: converted, or as they are where nothing converts. 0, 2 or 5.
std::uint32_t toWideOptions(DestinationOptionsA* ansi, WideOptions& converted, DestinationOptions*& options) noexcept;

// Converts a record of the wide functions. Its version is afterwards what it was. 0, 2 or 5.
std::uint32_t toAnsiOptions(DestinationOptions& options, AnsiOptions& ansi, std::uint16_t* size) noexcept;

}  // namespace fendrel
