#include "object.h"

namespace recording {

Objects& objects() {
  static Objects one;
  return one;
}

uint32_t Objects::live() const {
  return static_cast<uint32_t>(std::ranges::count_if(objects_, [](const auto& object) { return object->live(); }));
}

std::string Objects::describeLive() const {
  std::string text;
  for (const auto& object : objects_)
    if (object->live()) text += object->describe() + '\n';
  return text;
}

Tracked::Tracked(const char* interfaceName, std::string label) : interface_(interfaceName), label_(std::move(label)) {}

ULONG Tracked::addReference() {
  checkUse("AddRef");
  return static_cast<ULONG>(++references_);
}

ULONG Tracked::dropReference() {
  if (references_ == 0) {
    recorder().fault("released too often: " + describe());
    return 0;
  }
  if (--references_ > 0) return static_cast<ULONG>(references_);
  recorder().note(methodName("Release"), label_, "", RECORDED_RELEASE);
  lastReferenceGone();
  return 0;
}

void Tracked::checkUse(const char* method) {
  if (!live()) recorder().fault(std::string(method) + " called on a released " + describe());
  if (recorder().initialised <= 0)
    recorder().fault(std::string(method) + " called without MAPIInitialize on " + describe());
}

}  // namespace recording
