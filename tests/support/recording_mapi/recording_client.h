// The recording MAPI double as tests use it: its world, its log and its counts in C++ types.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "recording_mapi.h"

namespace fendrel::test {

// A world for the double. Texts are literals, or outlive the reset that reads them.
struct World {
  std::vector<RecordingProfile> profiles;
  std::optional<RecordingIdentity> identity;
  std::optional<std::vector<RecordingStatusRow>> statusRows;  // nothing: one row with the profile's name
  std::vector<RecordingStore> stores;
  std::vector<RecordingFolder> folders;
  uint32_t options = 0;

  static constexpr int subtree = -1;

  // The index of what was added.
  int addStore(const wchar_t* name, uint32_t flags = 0);
  int addFolder(int store, int parent, const wchar_t* name);
};

// Profiles "Default" (no password) and "Ada" (password "secret"); the user Ada Lovelace; the default store
// "Mailbox - Ada" with Inbox and Inbox@Reports, and "Public Folders" with Reports and Reports@Daily.
World standardWorld();

struct Call {
  uint32_t kind;
  bool canFail;
  std::string name;
  std::string object;
  std::string arguments;
  HRESULT result;
  bool waitCursor;
  uint32_t answers;  // bit n: the RecordingAnswer n fits

  // "IMAPIFolder::CreateMessage [Public Folders@Reports] interface=null flags=0x0"
  std::string line() const;
};

struct Value {
  uint32_t tag;
  std::wstring text;
  int64_t number;
  std::vector<uint8_t> bytes;

  bool operator==(const Value&) const = default;
};

struct PostedAttachment {
  std::vector<Value> properties;
  std::vector<uint8_t> content;
  bool saved;
};

struct PostedMessage {
  std::string folder;
  bool associated;
  std::vector<Value> properties;
  std::vector<PostedAttachment> attachments;
  bool saved;
  std::vector<uint32_t> readFlags;
};

// The first property with that tag; fails the test and answers an empty one when there is none.
Value valueOf(const std::vector<Value>& properties, uint32_t tag);
bool has(const std::vector<Value>& properties, uint32_t tag);
std::vector<uint32_t> tagsOf(const std::vector<Value>& properties);

class RecordingMapi {
 public:
  // Loads the built double by its full path, so that a later load of "MAPI32.DLL" finds it.
  RecordingMapi();
  ~RecordingMapi();
  RecordingMapi(const RecordingMapi&) = delete;
  RecordingMapi& operator=(const RecordingMapi&) = delete;

  HMODULE module() const { return module_; }
  static std::wstring path();

  void reset(const World& world);
  void fail(const char* name, uint32_t nth, HRESULT result) { fail_(name, nth, result); }
  void failEvery(const char* name, HRESULT result) { fail_(name, 0, result); }
  void failNothing() { failNothing_(); }
  void answer(const char* name, uint32_t nth, RecordingAnswer kind, int column = -1) {
    answer_(name, nth, kind, column);
  }
  uint32_t answersGiven() const { return answersGiven_(); }

  // Calls `function` once in the middle of the nth call of that name.
  void interrupt(const char* name, uint32_t nth, std::function<void()> function);

  // All calls without memory and releases; with those; those of one name; their lines.
  std::vector<Call> calls() const;
  std::vector<Call> everything() const;
  std::vector<Call> callsOf(const std::string& name) const;
  std::vector<std::string> lines() const;
  std::vector<std::string> linesOf(const std::string& name) const;

  std::vector<PostedMessage> messages() const;
  RecordingCounts counts() const;
  std::vector<std::string> faults() const;
  std::string liveObjects() const { return live_(); }

 private:
  HMODULE module_;
  decltype(&recordingReset) reset_;
  decltype(&recordingFail) fail_;
  decltype(&recordingFailNothing) failNothing_;
  decltype(&recordingAnswer) answer_;
  decltype(&recordingAnswersGiven) answersGiven_;
  decltype(&recordingInterrupt) interrupt_;
  std::function<void()> interruption_;
  decltype(&recordingCallCount) callCount_;
  decltype(&recordingCall) call_;
  decltype(&recordingMessageCount) messageCount_;
  decltype(&recordingMessage) message_;
  decltype(&recordingCounts) counts_;
  decltype(&recordingFault) fault_;
  decltype(&recordingLiveObjects) live_;
};

}  // namespace fendrel::test
