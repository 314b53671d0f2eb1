#include "golden_store.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "checksum.h"
#include "folders.h"
#include "messages.h"
#include "profiles.h"
#include "stores.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

// Numbers are 8 bytes, low byte first. A store is a sequence of: length and UTF-8 of a path (a folder ends with a
// backslash), then for a file its size and runs of zeros and other bytes, each with its length, until that size.

void putNumber(Bytes& out, std::uint64_t number) {
  for (int shift = 0; shift < 64; shift += 8) out.push_back(static_cast<std::byte>(number >> shift));
}

void putBytes(Bytes& out, std::span<const std::byte> bytes) {
  putNumber(out, bytes.size());
  out.insert(out.end(), bytes.begin(), bytes.end());
}

void putText(Bytes& out, const std::string& text) { putBytes(out, std::as_bytes(std::span(text))); }

constexpr std::size_t shortestRun = 24;  // fewer zeros are written literally

std::size_t zerosAt(const Bytes& bytes, std::size_t at) {
  const auto end = std::find_if(bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.end(),
                                [](std::byte byte) { return byte != std::byte{0}; });
  return static_cast<std::size_t>(end - bytes.begin()) - at;
}

void putRuns(Bytes& out, const Bytes& file) {
  putNumber(out, file.size());
  for (std::size_t at = 0; at < file.size();) {
    const std::size_t zeros = zerosAt(file, at);
    std::size_t end = at + zeros;
    while (end < file.size() && zerosAt(file, end) < shortestRun) ++end;
    putNumber(out, zeros);
    putBytes(out, std::span(file).subspan(at + zeros, end - at - zeros));
    at = end;
  }
}

class Unpacker {
 public:
  explicit Unpacker(std::span<const std::byte> bytes) : bytes_(bytes) {}
  bool atEnd() const { return bytes_.empty(); }

  std::uint64_t number() {
    std::uint64_t value = 0;
    const auto bytes = take(8);
    for (std::size_t i = 8; i-- > 0;) value = value << 8 | std::to_integer<std::uint64_t>(bytes[i]);
    return value;
  }

  std::span<const std::byte> run() { return take(number()); }

  std::wstring path() {
    const auto bytes = run();
    std::u16string text;
    fromUtf8({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, text);
    return {text.begin(), text.end()};
  }

  Bytes file() {
    Bytes file;
    for (const std::uint64_t size = number(); file.size() < size;) {
      file.resize(file.size() + static_cast<std::size_t>(number()));
      const auto bytes = run();
      file.insert(file.end(), bytes.begin(), bytes.end());
    }
    return file;
  }

 private:
  std::span<const std::byte> take(std::uint64_t count) {
    if (count > bytes_.size()) throw std::runtime_error("the packed store is cut off");
    const auto taken = bytes_.first(static_cast<std::size_t>(count));
    bytes_ = bytes_.subspan(static_cast<std::size_t>(count));
    return taken;
  }

  std::span<const std::byte> bytes_;
};

std::string hex(std::uint64_t number) {
  char text[20];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(number));
  return text;
}

std::string hex(const Id& id) {
  std::string text;
  for (std::size_t half : {0, 8}) {
    std::uint64_t number = 0;
    for (std::size_t i = half; i < half + 8; ++i) number = number << 8 | std::to_integer<std::uint64_t>(id.bytes()[i]);
    text += hex(number);
  }
  return text;
}

std::string shown(const PropertyValue& value) {
  if (const auto* text = std::get_if<std::u16string>(&value)) return toUtf8(*text);
  if (const auto* number = std::get_if<std::int32_t>(&value)) return std::to_string(*number);
  if (const auto* number = std::get_if<std::int64_t>(&value)) return std::to_string(*number);
  if (const auto* truth = std::get_if<bool>(&value)) return *truth ? "true" : "false";
  if (const auto* time = std::get_if<FileTime>(&value)) return std::to_string(time->ticks);
  if (const auto* bytes = std::get_if<Bytes>(&value)) return hex(checksum(*bytes));
  if (const auto* long_ = std::get_if<UnloadedValue>(&value)) return std::to_string(long_->size) + " bytes";
  if (const auto* texts = std::get_if<std::vector<std::u16string>>(&value)) {
    std::string all;
    for (const auto& text : *texts) all += toUtf8(text) + "|";
    return all;
  }
  return "?";
}

class Lister {
 public:
  explicit Lister(Database& database) : database_(database) {}

  std::string list() {
    std::vector<Profile> profiles;
    check(listProfiles(database_, profiles), "profiles");
    for (const Profile& each : profiles) profile(each);
    StoreInfo store;
    check(findPublicStore(database_, store), "store");
    folder(store.ipmSubtree, 0);
    return std::move(text_);
  }

 private:
  void profile(const Profile& profile) {
    line(0, "profile", toUtf8(profile.name) + ", " + toUtf8(profile.userName));
    if (!profile.server) return;
    line(1, "server",
         toUtf8(profile.server->url) + ", " + toUtf8(profile.server->user) + ", " +
             toUtf8(profile.server->publicAccount) + ", " + toUtf8(profile.server->tlsCaFile) + ", " +
             hex(checksum(profile.server->sealedSecret)));
  }

  void folder(const Id& id, std::size_t depth) {
    FolderInfo info;
    check(findFolder(database_, id, info), "folder");
    line(depth, "folder", "'" + toUtf8(info.name) + "' " + hex(id) + ", " + std::to_string(info.messageCount));
    std::vector<MessageInfo> messages;
    check(readMessageRows(database_, id, MessageKind::Ordinary, {},
                          [&](MessageRow&& row) {
                            messages.push_back(row.message);
                            return true;
                          }),
          "rows");
    for (const MessageInfo& message_ : messages) message(message_, depth + 1);
    std::vector<FolderRow> children;
    check(readFolderRows(database_, id, Depth::Children, {},
                         [&](FolderRow&& row) {
                           children.push_back(std::move(row));
                           return true;
                         }),
          "folders");
    for (const FolderRow& child : children) folder(child.folder.id, depth + 1);
  }

  void message(const MessageInfo& info, std::size_t depth) {
    line(depth, "message",
         hex(info.id) + ", " + std::to_string(info.size) + " bytes, created " + std::to_string(info.created.ticks) +
             (info.isRead ? ", read" : ", not read"));
    std::vector<Property> values;
    check(readMessageProperties(database_, info.id, {}, values), "properties");
    properties(info.id, std::nullopt, values, depth + 1);
    std::vector<AttachmentRow> attachments;
    check(readAttachmentRows(database_, info.id, {}, attachments), "attachments");
    for (const AttachmentRow& attachment : attachments) {
      line(depth + 1, "attachment", std::to_string(attachment.number) + ", " + std::to_string(attachment.size));
      check(readAttachmentProperties(database_, info.id, attachment.number, {}, values), "properties");
      properties(info.id, attachment.number, values, depth + 2);
    }
  }

  void properties(const Id& message, std::optional<std::uint32_t> attachment, const std::vector<Property>& values,
                  std::size_t depth) {
    for (const Property& property : values) {
      std::string value = shown(property.value);
      if (std::holds_alternative<UnloadedValue>(property.value)) value += " " + content(message, attachment, property);
      line(depth, hex(property.tag).substr(8), value);
    }
  }

  std::string content(const Id& message, std::optional<std::uint32_t> attachment, const Property& property) {
    std::shared_ptr<ContentReader> reader;
    check(openContent(database_, message, attachment, property.tag, reader), "content");
    Bytes bytes(static_cast<std::size_t>(reader->size()));
    std::size_t count = 0;
    check(reader->read(0, bytes, count), "content");
    return hex(checksum(bytes));
  }

  void line(std::size_t depth, const std::string& what, const std::string& value) {
    text_ += std::string(depth * 2, ' ') + what + " " + value + "\n";
  }

  void check(Status status, const char* what) {
    if (status != Status::Ok) text_ += std::string(what) + ": " + name(status) + " " + database_.lastError() + "\n";
  }

  Database& database_;
  std::string text_;
};

}  // namespace

Bytes packed(const DiskImage& image) {
  Bytes out;
  for (const auto& folder : image.folders) putText(out, toUtf8(std::wstring_view(folder + L'\\')));
  for (const auto& [path, bytes] : image.files) {
    putText(out, toUtf8(std::wstring_view(path)));
    putRuns(out, bytes);
  }
  return out;
}

DiskImage unpacked(const Bytes& bytes) {
  DiskImage image;
  for (Unpacker unpacker(bytes); !unpacker.atEnd();) {
    const std::wstring path = unpacker.path();
    if (path.ends_with(L'\\')) {
      image.folders.insert(path.substr(0, path.size() - 1));
    } else {
      image.files[path] = unpacker.file();
    }
  }
  return image;
}

std::string listing(Database& database) { return Lister(database).list(); }

}  // namespace fendrel::store
