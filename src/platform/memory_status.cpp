#include "memory_status.h"

#include <windows.h>

namespace fendrel {

std::size_t CompactHeap() noexcept { return HeapCompact(GetProcessHeap(), 0); }

std::size_t AvailablePhysicalMemory() noexcept {
  MEMORYSTATUS status{};
  status.dwLength = sizeof status;
  GlobalMemoryStatus(&status);
  return status.dwAvailPhys;
}

}  // namespace fendrel
