// checkStore on a given disk, for fault injection.
#pragma once

#include "disk.h"
#include "maintenance.h"

namespace fendrel::store {

CheckResult checkOnDisk(const std::wstring& path, Disk& disk, const Watch& watch);

}  // namespace fendrel::store
