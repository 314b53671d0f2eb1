#include "ansi_layer.h"

#include <memory>
#include <mutex>

#include "ansi_records.h"
#include "never_destroyed.h"
#include "wide_entry_points.h"

namespace fendrel {
namespace {

// A critical section that lives from attach to detach.
class Lock {
 public:
  void create() noexcept {
    InitializeCriticalSection(&section_);
    exists_ = true;
  }
  void destroy() noexcept {
    if (exists_) DeleteCriticalSection(&section_);
    exists_ = false;
  }
  void lock() noexcept { EnterCriticalSection(&section_); }
  void unlock() noexcept { LeaveCriticalSection(&section_); }

 private:
  CRITICAL_SECTION section_;
  bool exists_ = false;
};

Lock g_startLock;  // around the choice of the code page
Lock g_listLock;   // around the building of the list
NeverDestroyed<std::unique_ptr<AnsiDestinationList>> g_list;
NeverDestroyed<std::unique_ptr<AnsiDestinationList>> g_listWithoutNames;  // for calls before NRVInitialize

}  // namespace

bool attachAnsiLayer(HMODULE module) noexcept {
  g_startLock.create();
  {
    const std::lock_guard choosing(g_startLock);
    g_ansiCodePage = chooseAnsiCodePage();
  }
  if (!bindWideEntryPoints(module)) return false;
  g_listLock.create();
  return true;
}

void detachAnsiLayer() noexcept {
  g_listLock.destroy();
  g_startLock.destroy();
  g_list->reset();
  g_listWithoutNames->reset();
}

const FendrelDestinationListA* ansiDestinations() {
  const std::lock_guard building(g_listLock);
  if (*g_list) return (*g_list)->get();
  auto made = std::make_unique<AnsiDestinationList>(*wide().getExportDestinations());
  auto& place = made->isNamed() ? *g_list : *g_listWithoutNames;
  if (!place) place = std::move(made);
  return place->get();
}

}  // namespace fendrel
