// backupStore on a given disk, for fault injection.
#pragma once

#include "disk.h"
#include "maintenance.h"

namespace fendrel::store {

BackupResult backupOnDisk(const std::wstring& from, const std::wstring& to, Disk& disk, const Watch& watch);

}  // namespace fendrel::store
