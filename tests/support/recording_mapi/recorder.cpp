#include "recorder.h"

namespace recording {

Recorder& recorder() {
  static Recorder one;
  return one;
}

void Recorder::reset() {
  calls_.clear();
  faults_.clear();
  plans_.clear();
  initialised = 0;
  sessions = 0;
}

std::size_t Recorder::begin(std::string_view name, std::string object, std::string arguments, uint32_t kind,
                            bool canFail) {
  Call& call = calls_.emplace_back();
  call.name = name;
  call.object = std::move(object);
  call.arguments = std::move(arguments);
  call.view.kind = kind;
  call.view.canFail = canFail;
  call.view.waitCursor = GetCursor() == LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_WAIT));
  return calls_.size() - 1;
}

void Recorder::note(std::string_view name, std::string object, std::string arguments, uint32_t kind) {
  if (depth_ == 0) begin(name, std::move(object), std::move(arguments), kind, false);
}

const RecordedCall* Recorder::call(uint32_t index) {
  if (index >= calls_.size()) return nullptr;
  Call& call = calls_[index];
  call.view.name = call.name.c_str();
  call.view.object = call.object.c_str();
  call.view.arguments = call.arguments.c_str();
  return &call.view;
}

void Recorder::plan(const char* name, uint32_t nth, HRESULT result) {
  plans_.push_back({name ? std::optional<std::string>(name) : std::nullopt, nth, result});
}

std::optional<HRESULT> Recorder::plannedResult(std::string_view name) {
  std::optional<HRESULT> result;
  for (Plan& plan : plans_) {
    if (plan.name && *plan.name != name) continue;
    ++plan.seen;
    if (!result && (plan.nth == 0 || plan.nth == plan.seen)) result = plan.result;
  }
  return result;
}

bool Recorder::completesLater(std::string_view name) {
  return name == "IMAPITable::SetColumns" || name == "IMAPITable::Restrict" || name == "IMAPITable::SortTable" ||
         name == "IMAPITable::SeekRow";
}

}  // namespace recording
