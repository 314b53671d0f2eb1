// A real store and the model of it, changed together by random steps and compared.
#pragma once

#include <deque>
#include <functional>
#include <optional>

#include "conditions.h"
#include "model.h"
#include "temp_folder.h"

namespace model {

using client::ComPtr;

class World {
 public:
  explicit World(std::uint64_t seed);
  ~World();

  void step();
  void compareSome();  // a random folder and the counts of all
  void compareAll();
  void reopen();                // ends the session, checks the database and logs on again
  std::string history() const;  // the last steps

 private:
  void open();
  void checkDatabase();
  void note(const std::string& what);

  // steps
  void createMessage();
  void changeMessage();
  void changeByTwo();
  void deleteMessages();
  void setReadFlags();
  void copyOrMove();
  void createFolder();
  void renameFolder();
  void changeFolder();
  void deleteFolder();
  void emptyFolder();

  // parts of them; `draft` is the message as its creator sees it, `saved` what others see
  void edit(IMessage& message, Message& draft, std::optional<int>& saved);
  void editProperties(IMAPIProp& object, Properties& properties, ULONG id);
  void setSome(IMAPIProp& object, Properties& properties, ULONG id);
  void removeSome(IMAPIProp& object, Properties& properties, ULONG id);
  void rewriteStream(IMAPIProp& object, Properties& properties, ULONG id, bool create);
  ULONG newStreamType(ULONG id);
  ULONG streamTypeOf(const Value& value);  // PT_UNSPECIFIED: has no stream
  void editAttachments(IMessage& message, Message& draft);
  void save(IMessage& message, Message& draft, std::optional<int>& saved, ULONG flags);

  // comparisons
  void compareFolders();
  void compareFolder(int folder);
  void compareTable(int folder, bool associated);
  void compareOrder(int folder);
  void compareRestricted(int folder);
  void compareMessage(const Message& message);
  void compareAttachments(IMessage& real, const Message& message);

  // a restriction and the same predicate on the model
  using Predicate = std::function<bool(const Message&)>;
  SRestriction question(client::Conditions& is, Predicate& predicate, int depth);

  ComPtr<IMAPIFolder> openFolder(int folder, ULONG flags = MAPI_MODIFY);
  ComPtr<IMessage> openMessage(const Message& message, ULONG flags = 0);
  int anyFolder() { return std::next(contents_.folders.begin(), at(contents_.folders.size()))->first; }
  int anyOwnFolder();                         // -1: none
  std::vector<int> someMessages(int folder);  // of both kinds, none twice by key
  std::ptrdiff_t at(std::size_t size) { return static_cast<std::ptrdiff_t>(random_.below(size)); }

  Random random_;
  TempFolder files_;
  Contents contents_;
  std::optional<client::Session> session_;
  ComPtr<IMsgStore> stores_[2];
  int nextFolder_ = 0, nextMessage_ = 0, nextKey_ = 1;
  std::deque<std::string> history_;
};

// Each message's own number, which copies share.
constexpr ULONG keyTag = PROP_TAG(PT_LONG, 0x6800);
std::int64_t keyOf(const Message& message);

}  // namespace model
