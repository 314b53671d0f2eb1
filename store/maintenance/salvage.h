// salvageStore on a disk of the caller's choice: where tests inject faults.
#pragma once

#include "disk.h"
#include "maintenance.h"

namespace fendrel::store {

SalvageResult salvageOnDisk(const std::wstring& from, const std::wstring& to, Disk& disk, const Watch& watch);

}  // namespace fendrel::store
