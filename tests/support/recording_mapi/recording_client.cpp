#include "recording_client.h"

#include <gtest/gtest.h>
#include <mapidefs.h>

#include <stdexcept>

#include "build_paths.h"

namespace fendrel::test {
namespace {

template <class Function>
void lookUp(HMODULE module, const char* name, Function& function) {
  function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  if (!function) throw std::runtime_error(std::string("the recording double has no ") + name);
}

std::vector<Value> copyOf(const RecordedProperty* properties, uint32_t count) {
  std::vector<Value> values;
  for (uint32_t index = 0; index < count; ++index) {
    const RecordedProperty& property = properties[index];
    values.push_back({property.tag, property.text ? property.text : L"", property.number,
                      std::vector<uint8_t>(property.bytes, property.bytes + property.size)});
  }
  return values;
}

constexpr uint8_t adaEntryId[] = {0, 0, 0, 0, 0xAD, 0xA1};
constexpr uint8_t adaSearchKey[] = {'S', 'M', 'T', 'P', ':', 'A', 'D', 'A', 0};

}  // namespace

int World::addStore(const wchar_t* name, uint32_t flags) {
  stores.push_back({name, flags, FOLDER_IPM_SUBTREE_VALID | FOLDER_COMMON_VIEWS_VALID});
  return static_cast<int>(stores.size()) - 1;
}

int World::addFolder(int store, int parent, const wchar_t* name) {
  folders.push_back({name, store, parent});
  return static_cast<int>(folders.size()) - 1;
}

World standardWorld() {
  World world;
  world.profiles = {{L"Default", nullptr}, {L"Ada", L"secret"}};
  world.identity = {adaEntryId, sizeof adaEntryId, L"Ada Lovelace", adaSearchKey, sizeof adaSearchKey, 1};
  const int mailbox = world.addStore(L"Mailbox - Ada", RECORDING_DEFAULT_STORE);
  const int inbox = world.addFolder(mailbox, World::subtree, L"Inbox");
  world.addFolder(mailbox, inbox, L"Reports");
  const int publicFolders = world.addStore(L"Public Folders");
  const int reports = world.addFolder(publicFolders, World::subtree, L"Reports");
  world.addFolder(publicFolders, reports, L"Daily");
  return world;
}

std::string Call::line() const { return name + " [" + object + "] " + arguments; }

Value valueOf(const std::vector<Value>& properties, uint32_t tag) {
  for (const Value& value : properties)
    if (value.tag == tag) return value;
  ADD_FAILURE() << "no property " << std::hex << tag;
  return {};
}

bool has(const std::vector<Value>& properties, uint32_t tag) {
  for (const Value& value : properties)
    if (value.tag == tag) return true;
  return false;
}

std::vector<uint32_t> tagsOf(const std::vector<Value>& properties) {
  std::vector<uint32_t> tags;
  for (const Value& value : properties) tags.push_back(value.tag);
  return tags;
}

std::wstring RecordingMapi::path() { return buildFile(L"tests/double/MAPI32.DLL"); }

RecordingMapi::RecordingMapi() : module_(LoadLibraryW(path().c_str())) {
  if (!module_) throw std::runtime_error("the recording double cannot be loaded");
  lookUp(module_, "recordingReset", reset_);
  lookUp(module_, "recordingFail", fail_);
  lookUp(module_, "recordingFailNothing", failNothing_);
  lookUp(module_, "recordingAnswer", answer_);
  lookUp(module_, "recordingAnswersGiven", answersGiven_);
  lookUp(module_, "recordingInterrupt", interrupt_);
  lookUp(module_, "recordingCallCount", callCount_);
  lookUp(module_, "recordingCall", call_);
  lookUp(module_, "recordingMessageCount", messageCount_);
  lookUp(module_, "recordingMessage", message_);
  lookUp(module_, "recordingCounts", counts_);
  lookUp(module_, "recordingFault", fault_);
  lookUp(module_, "recordingLiveObjects", live_);
}

RecordingMapi::~RecordingMapi() { FreeLibrary(module_); }

void RecordingMapi::reset(const World& world) {
  RecordingWorld view{};
  view.profiles = world.profiles.data();
  view.profileCount = static_cast<uint32_t>(world.profiles.size());
  view.identity = world.identity ? &*world.identity : nullptr;
  // A table without rows is still a table.
  static constexpr RecordingStatusRow noRow{};
  if (world.statusRows) {
    view.statusRows = world.statusRows->empty() ? &noRow : world.statusRows->data();
    view.statusRowCount = static_cast<uint32_t>(world.statusRows->size());
  }
  view.stores = world.stores.data();
  view.storeCount = static_cast<uint32_t>(world.stores.size());
  view.folders = world.folders.data();
  view.folderCount = static_cast<uint32_t>(world.folders.size());
  view.options = world.options;
  reset_(&view);
}

void RecordingMapi::interrupt(const char* name, uint32_t nth, std::function<void()> function) {
  interruption_ = std::move(function);
  interrupt_(
      name, nth, [](void* context) { (*static_cast<std::function<void()>*>(context))(); }, &interruption_);
}

std::vector<Call> RecordingMapi::everything() const {
  std::vector<Call> calls;
  for (uint32_t index = 0; index < callCount_(); ++index) {
    const RecordedCall& call = *call_(index);
    calls.push_back({call.kind, call.canFail != 0, call.name, call.object, call.arguments, call.result,
                     call.waitCursor != 0, call.answers});
  }
  return calls;
}

std::vector<Call> RecordingMapi::calls() const {
  std::vector<Call> all = everything();
  std::erase_if(all, [](const Call& call) { return call.kind != RECORDED_CALL; });
  return all;
}

std::vector<Call> RecordingMapi::callsOf(const std::string& name) const {
  std::vector<Call> all = everything();
  std::erase_if(all, [&](const Call& call) { return call.name != name; });
  return all;
}

std::vector<std::string> RecordingMapi::lines() const {
  std::vector<std::string> lines;
  for (const Call& call : calls()) lines.push_back(call.line());
  return lines;
}

std::vector<std::string> RecordingMapi::linesOf(const std::string& name) const {
  std::vector<std::string> lines;
  for (const Call& call : callsOf(name)) lines.push_back(call.line());
  return lines;
}

std::vector<PostedMessage> RecordingMapi::messages() const {
  std::vector<PostedMessage> messages;
  for (uint32_t index = 0; index < messageCount_(); ++index) {
    const RecordedMessage& recorded = *message_(index);
    PostedMessage message{recorded.folder,
                          recorded.associated != 0,
                          copyOf(recorded.properties, recorded.propertyCount),
                          {},
                          recorded.saved != 0,
                          {recorded.readFlags, recorded.readFlags + recorded.readFlagCount}};
    for (uint32_t number = 0; number < recorded.attachmentCount; ++number) {
      const RecordedAttachment& attachment = recorded.attachments[number];
      message.attachments.push_back({copyOf(attachment.properties, attachment.propertyCount),
                                     {attachment.content, attachment.content + attachment.contentSize},
                                     attachment.saved != 0});
    }
    messages.push_back(std::move(message));
  }
  return messages;
}

RecordingCounts RecordingMapi::counts() const {
  RecordingCounts counts{};
  counts_(&counts);
  return counts;
}

std::vector<std::string> RecordingMapi::faults() const {
  std::vector<std::string> faults;
  counts();  // checks the freed blocks again
  for (uint32_t index = 0; fault_(index); ++index) faults.push_back(fault_(index));
  return faults;
}

}  // namespace fendrel::test
