#include "recorder.h"

namespace recording {

Recorder& recorder() {
  static Recorder one;
  return one;
}

void Recorder::reset() {
  calls_.clear();
  faults_.clear();
  planNothing();
  interruption_.reset();
  answersGiven_ = 0;
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

bool Recorder::Choice::takes(std::string_view called) {
  if (name && *name != called) return false;
  ++seen;
  return nth == 0 || nth == seen;
}

Recorder::Choice Recorder::choose(const char* name, uint32_t nth) {
  return {.name = name ? std::optional<std::string>(name) : std::nullopt, .nth = nth};
}

void Recorder::plan(const char* name, uint32_t nth, HRESULT result) { plans_.push_back({choose(name, nth), result}); }

void Recorder::planAnswer(const char* name, uint32_t nth, Answer answer) {
  answers_.push_back({choose(name, nth), answer});
}

void Recorder::planInterruption(const char* name, uint32_t nth, void(WINAPI* function)(void*), void* context) {
  interruption_.reset();
  if (function) interruption_ = {choose(name, nth), function, context};
}

void Recorder::interrupt(std::string_view name) {
  if (!interruption_ || !interruption_->choice.takes(name)) return;
  const Interruption now = *interruption_;
  interruption_.reset();  // its own calls are not interrupted
  now.function(now.context);
}

std::optional<HRESULT> Recorder::plannedResult(std::string_view name) {
  std::optional<HRESULT> result;
  for (Plan& plan : plans_)
    if (plan.choice.takes(name) && !result) result = plan.result;
  return result;
}

void Recorder::answer(std::string_view name, const Outputs& outputs, HRESULT& result) {
  bool changed = false;  // the results were changed already
  for (PlannedAnswer& planned : answers_) {
    if (!planned.choice.takes(name) || FAILED(result)) continue;
    if (planned.answer.kind == RECORDING_WARNING)
      result = MAPI_W_ERRORS_RETURNED;
    else if (changed || !outputs.change(planned.answer))
      continue;
    else
      changed = true;
    ++answersGiven_;
  }
}

bool Recorder::completesLater(std::string_view name) {
  return name == "IMAPITable::SetColumns" || name == "IMAPITable::Restrict" || name == "IMAPITable::SortTable" ||
         name == "IMAPITable::SeekRow";
}

}  // namespace recording
