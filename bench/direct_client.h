// Posts files with the MAPI calls and the values that the plug-in makes and gives, but without the plug-in.
#pragma once

#include <string>
#include <vector>

#include "bench_store.h"

namespace fendrel::bench {

// Logs on, opens the folder and posts every file as a message with the file attached, `names` being the report names.
void postDirectly(const Mapi& mapi, const std::vector<std::wstring>& files, const std::vector<std::wstring>& names);

}  // namespace fendrel::bench
