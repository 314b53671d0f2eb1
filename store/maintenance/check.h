// checkStore on a disk of the caller's choice: where tests inject faults.
#pragma once

#include "disk.h"
#include "maintenance.h"

namespace fendrel::store {

CheckResult checkOnDisk(const std::wstring& path, Disk& disk, const Watch& watch);

}  // namespace fendrel::store
