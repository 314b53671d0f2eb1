#include "module_state.h"

#include "job_table.h"
#include "mapi_binding.h"
#include "never_destroyed.h"
#include "resource_ids.h"
#include "resource_module.h"

namespace fendrel {
namespace {

std::uint32_t g_initialisations;
std::uint32_t g_start;  // counts first starts and last stops, so that a call notices them; odd: started
std::uint32_t g_uses;   // running calls
bool g_releaseWanted;   // once they have returned
NeverDestroyed<HeapText> g_destinationName;
wchar_t g_templateClass[256];
wchar_t g_documentClass[256];

FendrelDestination g_destination{.size = sizeof(FendrelDestination)};
constexpr const FendrelDestination* g_destinations[] = {&g_destination};
constexpr FendrelDestinationList g_destinationList{
    .size = sizeof(FendrelDestinationList), .count = 1, .destinations = g_destinations};

std::uint32_t load() noexcept {
  g_hResInstance = LoadResourceModule(g_hModule, L"R7Kqe", g_hResLibrary);
  if (const auto code = LoadResStringAlloc(IDS_DESTINATION, *g_destinationName)) return code;
  g_destination.name = g_destinationName->get();
  if (const auto code = LoadResString(IDS_TEMPLATE_CLASS, g_templateClass, 255)) return code;
  if (const auto code = LoadResString(IDS_DOCUMENT_CLASS, g_documentClass, 255)) return code;
  return BindMapi() ? FENDREL_SUCCESS : FENDREL_FAILED;
}

void release() noexcept {
  FreeResourceModule(g_hResLibrary);
  if (!g_hResLibrary) g_hResInstance = g_hModule;
  g_destination.name = nullptr;
  g_destinationName->reset();
  if (IsMapiBound()) UnbindMapi();
}

}  // namespace

std::uint32_t startModule() noexcept {
  if (g_initialisations == 0) {
    if (!g_releaseWanted)
      if (const auto code = load()) {
        release();
        return code;
      }
    g_releaseWanted = false;  // a running call has kept everything loaded
    ++g_start;
  }
  ++g_initialisations;
  return FENDREL_SUCCESS;
}

// An unmatched stop wraps the counter. A host error; behaviour preserved.
void stopModule() noexcept {
  if (g_initialisations-- != 1) return;
  const ModuleUse use;
  ++g_start;
  g_releaseWanted = true;
  endAllJobs();
}

ModuleUse::ModuleUse() noexcept : start_(g_start) { ++g_uses; }

ModuleUse::~ModuleUse() {
  if (--g_uses != 0 || !g_releaseWanted) return;
  g_releaseWanted = false;
  release();
}

bool ModuleUse::holds() const noexcept { return start_ == g_start && start_ % 2 == 1; }

const FendrelDestinationList* exportDestinations() noexcept { return &g_destinationList; }
const wchar_t* templateMessageClass() noexcept { return g_templateClass; }
const wchar_t* documentMessageClass() noexcept { return g_documentClass; }

}  // namespace fendrel
