#include "samples.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "connection.h"
#include "engine_fixture.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

const Bytes& bytesOf(const Sample& sample, std::size_t number) {
  static std::map<std::pair<std::size_t, std::size_t>, Bytes> made;
  Bytes& bytes = made[{sample.attachments[number], sample.subject.size() * 100 + number}];
  if (bytes.empty()) bytes = pattern(sample.attachments[number], sample.subject.size() * 100 + number);
  return bytes;
}

std::u16string bodyText() { return std::u16string(500, u'b'); }

Status findTop(Database& database, Id& top) {
  StoreInfo store;
  const Status status = findPublicStore(database, store);
  top = store.ipmSubtree;
  return status;
}

class Comparison {
 public:
  Comparison(Database& database, int* refused) : database_(database), refused_(refused) {}

  // The result of one read: true if it may be compared.
  bool answered(Status status, const std::string& what) {
    if (status == Status::Ok) return true;
    if (status == Status::Corrupt && refused_) {
      ++*refused_;
    } else {
      wrong_.push_back(what + " answers " + name(status) + ": " + database_.lastError());
    }
    return false;
  }

  // Opens a message like programs do, with its checksum. False: refused.
  bool opened(const Id& id, std::u16string& subject) {
    MessageInfo info;
    if (!answered(findMessage(database_, id, info), "a message")) return false;
    std::vector<Property> properties;
    const std::vector<PropertyTag> tags = {subjectTag};
    if (!answered(readMessageProperties(database_, id, tags, properties), "a message's subject")) return false;
    if (!properties.empty()) subject = std::get<std::u16string>(properties[0].value);
    return true;
  }

  void message(const Id& id, const Sample& sample) {
    const std::string what = "'" + toUtf8(sample.subject) + "'";
    std::vector<AttachmentRow> rows;
    if (!answered(readAttachmentRows(database_, id, {}, rows), what)) return;
    if (rows.size() != sample.attachments.size()) {
      wrong_.push_back(what + " has " + std::to_string(rows.size()) + " attachments");
      return;
    }
    std::vector<Property> properties;
    if (answered(readMessageProperties(database_, id, {}, properties), what)) {
      const bool isRight = properties.size() == 2 && properties[0].value == PropertyValue(sample.subject) &&
                           properties[1].value == PropertyValue(bodyText());
      if (!isRight) wrong_.push_back(what + " has other properties");
    }
    for (std::size_t number = 0; number < rows.size(); ++number) attachment(id, sample, number);
  }

  void attachment(const Id& id, const Sample& sample, std::size_t number) {
    const std::string what = "'" + toUtf8(sample.subject) + "', attachment " + std::to_string(number);
    std::shared_ptr<ContentReader> reader;
    const auto attached = static_cast<std::uint32_t>(number);
    if (!answered(openContent(database_, id, attached, attachDataTag, reader), what)) return;
    Bytes found(static_cast<std::size_t>(reader->size()));
    std::size_t count = 0;
    if (!answered(reader->read(0, found, count), what)) return;
    // Not by ==, which compares byte by byte when it is not optimised.
    const Bytes& expected = bytesOf(sample, number);
    const bool isSame =
        found.size() == expected.size() && std::memcmp(found.data(), expected.data(), expected.size()) == 0;
    if (!isSame) wrong_.push_back(what + " has other bytes");
  }

  std::vector<std::string> wrong_;

 private:
  Database& database_;
  int* refused_;
};

}  // namespace

Status post(Database& database, const Sample& sample, std::size_t piece) {
  MessageDraft draft;
  if (const Status status = findTop(database, draft.folder); status != Status::Ok) return status;
  // Not as one list: GCC 12 destroys what it has not constructed when an allocation fails in the middle of it.
  draft.set.push_back({subjectTag, sample.subject});
  draft.set.push_back({bodyTag, bodyText()});
  for (std::size_t number = 0; number < sample.attachments.size(); ++number) {
    auto writer = createContent(database);
    const std::span<const std::byte> bytes = bytesOf(sample, number);
    for (std::size_t done = 0; done < bytes.size(); done += piece) {
      const Status status = writer->write(done, bytes.subspan(done, std::min(piece, bytes.size() - done)));
      if (status != Status::Ok) return status;
    }
    auto& attachment = draft.attachments.emplace_back();
    attachment.number = static_cast<std::uint32_t>(number);
    attachment.contents = {{attachDataTag, writer}};
  }
  MessageInfo saved;
  return saveMessage(database, draft, saved);
}

Status removeSamples(Database& database, const std::u16string& subject) {
  Id top;
  if (const Status status = findTop(database, top); status != Status::Ok) return status;
  std::vector<Id> found;
  const Status read = readMessageRows(database, top, MessageKind::Ordinary, std::vector<PropertyTag>{subjectTag},
                                      [&](MessageRow&& row) {
                                        const auto* text = std::get_if<std::u16string>(&row.values[0].value);
                                        if (text && *text == subject) found.push_back(row.message.id);
                                        return true;
                                      });
  return read == Status::Ok ? deleteMessages(database, found) : read;
}

std::vector<std::string> differences(Database& database, const std::vector<Expected>& expected, int* refused) {
  Comparison comparison(database, refused);
  Id top{};
  if (!comparison.answered(findTop(database, top), "the store")) return comparison.wrong_;
  std::vector<Id> listed;
  const Status read = readMessageRows(database, top, MessageKind::Ordinary, {}, [&](MessageRow&& row) {
    listed.push_back(row.message.id);
    return true;
  });
  const bool isComplete = comparison.answered(read, "the folder");
  std::vector<std::pair<Id, std::u16string>> opened;
  for (const Id& id : listed) {
    if (std::u16string subject; comparison.opened(id, subject)) opened.emplace_back(id, std::move(subject));
  }
  for (const Expected& one : expected) {
    const auto count = std::ranges::count(opened, one.sample.subject, &std::pair<Id, std::u16string>::second);
    const bool mayBeRefused = !isComplete || opened.size() < listed.size();
    const bool isMissing = count == 0 && one.fate == Fate::Present && !mayBeRefused;
    if (isMissing || count > 1 || (count == 1 && one.fate == Fate::Absent)) {
      comparison.wrong_.push_back("'" + toUtf8(one.sample.subject) + "' is there " + std::to_string(count) + " times");
    }
  }
  for (const auto& [id, subject] : opened) {
    const auto known = std::ranges::find(expected, subject, [](const Expected& one) { return one.sample.subject; });
    if (known == expected.end()) {
      comparison.wrong_.push_back("a message '" + toUtf8(subject) + "' that nobody posted");
    } else {
      comparison.message(id, known->sample);
    }
  }
  FolderInfo folder;
  if (isComplete && comparison.answered(findFolder(database, top, folder), "the folder's row") &&
      folder.messageCount != listed.size()) {
    comparison.wrong_.push_back("the folder counts " + std::to_string(folder.messageCount) + " messages, not " +
                                std::to_string(listed.size()));
  }
  return comparison.wrong_;
}

}  // namespace fendrel::store
