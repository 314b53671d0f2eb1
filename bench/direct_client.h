// Posts files with the same MAPI calls and values as the plug-in, but without the plug-in.
#pragma once

#include <string>
#include <vector>

#include "bench_store.h"

namespace fendrel::bench {

// Logs on, opens the folder and posts every file as a message with the file attached. `names`: the report names.
void postDirectly(const Mapi& mapi, const std::vector<std::wstring>& files, const std::vector<std::wstring>& names);

}  // namespace fendrel::bench
