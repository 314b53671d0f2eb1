#include "ansi_options.h"

namespace fendrel {

std::uint32_t toWideOptions(DestinationOptionsA* ansi, WideOptions& converted, DestinationOptions*& options) noexcept {
  if (!ansi || !wide().convertsOptions()) {
    options = reinterpret_cast<DestinationOptions*>(ansi);  // the layout is the same
    return FENDREL_SUCCESS;
  }
  DestinationOptions* made = nullptr;
  const std::uint32_t code = wide().optionsToWide(ansi, &made, nullptr);
  converted.reset(made);
  if (made) made->version = FENDREL_OPTIONS_VERSION;
  options = made;
  return code;
}

std::uint32_t toAnsiOptions(DestinationOptions& options, AnsiOptions& ansi, std::uint16_t* size) noexcept {
  const std::uint16_t version = options.version;
  options.version = FENDREL_OPTIONS_VERSION;
  DestinationOptionsA* made = nullptr;
  const std::uint32_t code = wide().optionsToAnsi(&options, &made, size);
  options.version = version;
  ansi.reset(made);
  return code;
}

}  // namespace fendrel
