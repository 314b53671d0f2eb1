// The control side of the double.
#include <windows.h>

#include "buffers.h"
#include "object.h"
#include "recording_mapi.h"
#include "world_model.h"

using namespace recording;

namespace {

// A message in the shape that tests read, rebuilt at each question.
struct MessageView {
  RecordedMessage message{};
  std::vector<RecordedProperty> properties;
  std::vector<RecordedAttachment> attachments;
  std::vector<std::vector<RecordedProperty>> attachmentProperties;
};

std::vector<RecordedProperty> viewsOf(const PropertyBag& bag) {
  std::vector<RecordedProperty> views;
  for (const Property& property : bag.all()) views.push_back(viewOf(property));
  return views;
}

std::vector<std::unique_ptr<MessageView>> messageViews;
std::string liveObjects;

}  // namespace

extern "C" {

void WINAPI recordingReset(const RecordingWorld* description) {
  objects().reset();
  buffers().reset();
  recorder().reset();
  messageViews.clear();
  world().build(*description);
}

void WINAPI recordingFail(const char* name, uint32_t nth, HRESULT result) { recorder().plan(name, nth, result); }
void WINAPI recordingFailNothing(void) { recorder().planNothing(); }

void WINAPI recordingAnswer(const char* name, uint32_t nth, uint32_t answer, int32_t column) {
  recorder().planAnswer(name, nth, {static_cast<RecordingAnswer>(answer), column});
}
uint32_t WINAPI recordingAnswersGiven(void) { return recorder().answersGiven(); }

void WINAPI recordingInterrupt(const char* name, uint32_t nth, void(WINAPI* function)(void*), void* context) {
  recorder().planInterruption(name, nth, function, context);
}

uint32_t WINAPI recordingCallCount(void) { return recorder().callCount(); }
const RecordedCall* WINAPI recordingCall(uint32_t index) { return recorder().call(index); }

uint32_t WINAPI recordingMessageCount(void) { return static_cast<uint32_t>(world().messages().size()); }

const RecordedMessage* WINAPI recordingMessage(uint32_t index) {
  if (index >= world().messages().size()) return nullptr;
  const Message& message = *world().messages()[index];
  MessageView& view = *messageViews.emplace_back(std::make_unique<MessageView>());
  view.properties = viewsOf(message.properties);
  for (const auto& attachment : message.attachments)
    view.attachmentProperties.push_back(viewsOf(attachment->properties));
  for (std::size_t number = 0; number < message.attachments.size(); ++number) {
    const Attachment& attachment = *message.attachments[number];
    const auto& properties = view.attachmentProperties[number];
    view.attachments.push_back({properties.data(), static_cast<uint32_t>(properties.size()), attachment.content.data(),
                                attachment.content.size(), attachment.saved});
  }
  view.message = {message.folder->label.c_str(),
                  message.associated,
                  view.properties.data(),
                  static_cast<uint32_t>(view.properties.size()),
                  view.attachments.data(),
                  static_cast<uint32_t>(view.attachments.size()),
                  message.saved.has_value(),
                  message.readFlags.data(),
                  static_cast<uint32_t>(message.readFlags.size())};
  return &view.message;
}

void WINAPI recordingCounts(RecordingCounts* counts) {
  buffers().checkFreedBlocks();
  *counts = {objects().live(),    buffers().liveTop(),    buffers().liveChained(),
             recorder().sessions, recorder().initialised, static_cast<uint32_t>(recorder().faults().size())};
}

const char* WINAPI recordingFault(uint32_t index) {
  return index < recorder().faults().size() ? recorder().faults()[index].c_str() : nullptr;
}

const char* WINAPI recordingLiveObjects(void) {
  liveObjects = objects().describeLive() + buffers().describeLive();
  return liveObjects.c_str();
}

}  // extern "C"
