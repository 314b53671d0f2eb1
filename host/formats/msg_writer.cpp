#include "msg_writer.h"

#include <mapidefs.h>
#include <mapitags.h>
#include <objbase.h>

#include <fmt/format.h>

#include <algorithm>
#include <bit>

#include "msg_names.h"
#include "property_names.h"
#include "text.h"

namespace fendrel::host {
namespace {

// The class identifier of the root storage of a mail message.
constexpr CLSID messageClassId = {0x00020D0B, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// Mail programs write sectors of 512 bytes; sectors of 4096 bytes are six times as fast for large files and have no
// limit of 2 GiB.
constexpr std::uint64_t manyBytes = 256u << 20;
constexpr ULONG smallSector = 512, largeSector = 4096;

constexpr DWORD newElement = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr std::uint32_t readable = 2, writable = 4;  // of a property
constexpr LONG textIsWide = 0x00040000;              // in PR_STORE_SUPPORT_MASK

// Properties of the message's store or of its place there, meaningless in a file.
constexpr ULONG ofTheStore[] = {PROP_ID(PR_ENTRYID),
                                PROP_ID(PR_PARENT_ENTRYID),
                                PROP_ID(PR_STORE_ENTRYID),
                                PROP_ID(PR_STORE_RECORD_KEY),
                                PROP_ID(PR_INSTANCE_KEY),
                                PROP_ID(PR_MAPPING_SIGNATURE),
                                PROP_ID(PR_MDB_PROVIDER),
                                PROP_ID(PR_ACCESS),
                                PROP_ID(PR_ACCESS_LEVEL),
                                PROP_ID(PR_MESSAGE_SIZE),
                                PROP_ID(PR_MESSAGE_ATTACHMENTS),
                                PROP_ID(PR_MESSAGE_RECIPIENTS),
                                PROP_ID(PR_ATTACH_DATA_BIN),
                                PROP_ID(PR_ATTACH_NUM),
                                PROP_ID(PR_STORE_SUPPORT_MASK),
                                PROP_ID(PR_RECORD_KEY),
                                PROP_ID(PR_MESSAGE_FLAGS)};

// From here on the store's names define the meaning of identifiers.
constexpr ULONG firstNamedProperty = 0x8000;

// The tag of a property in the file; 0 if it is left out.
ULONG tagInFile(ULONG tag, const MsgNames& names) {
  if (PROP_ID(tag) >= firstNamedProperty) return names.tagInFile(tag);
  return std::ranges::find(ofTheStore, PROP_ID(tag)) == std::end(ofTheStore) ? tag : 0;
}

void checkWritten(HRESULT code) { check(code, ExitCode::failed, "The .msg file cannot be written"); }

void writeAll(IStream& stream, std::span<const std::uint8_t> bytes) {
  ULONG written = 0;
  checkWritten(stream.Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written));
  if (written != bytes.size()) checkWritten(STG_E_MEDIUMFULL);
}

ComPtr<IStream> newStream(IStorage& storage, const std::wstring& name) {
  ComPtr<IStream> stream;
  checkWritten(storage.CreateStream(name.c_str(), newElement, 0, 0, &stream));
  return stream;
}

ComPtr<IStorage> newStorage(IStorage& storage, const std::wstring& name) {
  ComPtr<IStorage> made;
  checkWritten(storage.CreateStorage(name.c_str(), newElement, 0, 0, &made));
  return made;
}

void writeStream(IStorage& storage, const std::wstring& name, std::span<const std::uint8_t> bytes) {
  const ComPtr<IStream> stream = newStream(storage, name);
  if (!bytes.empty()) writeAll(*stream.Get(), bytes);
}

std::span<const std::uint8_t> bytesOf(std::wstring_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size() * sizeof(wchar_t)};
}

std::wstring streamName(ULONG tag) { return toWide(fmt::format("__substg1.0_{:08X}", tag)); }

// The storage of a message or an attachment: its streams, and the stream that lists all properties.
//
//   offset  size
//        0  8 or 32  header
//   then for each property
//        0     4  tag
//        4     4  flags
//        8     8  the value, or the length of the property's stream (4) and zeros (4)
class PropertyStorage {
 public:
  PropertyStorage(ComPtr<IStorage> target, std::size_t headerSize) : storage_(std::move(target)), list_(headerSize) {}

  IStorage& get() const { return *storage_.Get(); }
  void addNumber(ULONG tag, std::uint64_t bits);
  void addText(ULONG tag, std::wstring_view text);
  void addBytes(ULONG tag, std::span<const std::uint8_t> bytes);
  void addLength(ULONG tag, std::uint64_t length) { addNumber(tag, length); }
  void addValue(SPropValue value, ULONG tag);
  void addLong(LongValue value, ULONG tag);
  void setHeader(std::size_t offset, std::uint32_t number) { putNumber(list_, offset, number, sizeof number); }

  // Writes the list; call last.
  void finish() { writeStream(get(), L"__properties_version1.0", list_); }

 private:
  template <class Value>
  void addFixedList(ULONG tag, const Value* values, ULONG count);
  template <class Item>
  void addTexts(ULONG tag, ULONG count, Item item);
  void addBinaries(const SPropValue& value);

  static void putNumber(std::vector<std::uint8_t>& to, std::size_t offset, std::uint64_t number, std::size_t size) {
    if (to.size() < offset + size) to.resize(offset + size);
    for (std::size_t index = 0; index < size; ++index)
      to[offset + index] = static_cast<std::uint8_t>(number >> 8 * index);
  }

  ComPtr<IStorage> storage_;
  std::vector<std::uint8_t> list_;
};

void PropertyStorage::addNumber(ULONG tag, std::uint64_t bits) {
  const std::size_t offset = list_.size();
  putNumber(list_, offset, tag, 4);
  putNumber(list_, offset + 4, readable | writable, 4);
  putNumber(list_, offset + 8, bits, 8);
}

void PropertyStorage::addText(ULONG tag, std::wstring_view text) {
  tag = CHANGE_PROP_TYPE(tag, PT_UNICODE);
  writeStream(get(), streamName(tag), bytesOf(text));
  addLength(tag, (text.size() + 1) * sizeof(wchar_t));  // counts a terminator that is not written
}

void PropertyStorage::addBytes(ULONG tag, std::span<const std::uint8_t> bytes) {
  writeStream(get(), streamName(tag), bytes);
  addLength(tag, bytes.size());
}

template <class Value>
void PropertyStorage::addFixedList(ULONG tag, const Value* values, ULONG count) {
  addBytes(tag, {reinterpret_cast<const std::uint8_t*>(values), count * sizeof(Value)});
}

// Each text has its own stream, with terminator; the property's stream holds their lengths.
template <class Item>
void PropertyStorage::addTexts(ULONG tag, ULONG count, Item item) {
  tag = CHANGE_PROP_TYPE(tag, PT_MV_UNICODE);
  std::vector<std::uint8_t> lengths;
  for (ULONG index = 0; index < count; ++index) {
    const std::wstring text = item(index);
    const std::wstring_view withEnd(text.c_str(), text.size() + 1);
    putNumber(lengths, lengths.size(), withEnd.size() * sizeof(wchar_t), 4);
    writeStream(get(), streamName(tag) + toWide(fmt::format("-{:08X}", index)), bytesOf(withEnd));
  }
  addBytes(tag, lengths);
}

void PropertyStorage::addBinaries(const SPropValue& value) {
  std::vector<std::uint8_t> lengths;
  for (ULONG index = 0; index < value.Value.MVbin.cValues; ++index) {
    const SBinary& binary = value.Value.MVbin.lpbin[index];
    putNumber(lengths, lengths.size(), binary.cb, 8);
    writeStream(get(), streamName(value.ulPropTag) + toWide(fmt::format("-{:08X}", index)), {binary.lpb, binary.cb});
  }
  addBytes(value.ulPropTag, lengths);
}

void PropertyStorage::addValue(SPropValue value, ULONG tag) {
  value.ulPropTag = tag;
  const auto& held = value.Value;
  switch (PROP_TYPE(tag)) {
    case PT_SHORT: return addNumber(tag, static_cast<std::uint16_t>(held.i));
    case PT_LONG: return addNumber(tag, static_cast<std::uint32_t>(held.l));
    case PT_FLOAT: return addNumber(tag, std::bit_cast<std::uint32_t>(held.flt));
    case PT_DOUBLE:
    case PT_APPTIME: return addNumber(tag, std::bit_cast<std::uint64_t>(held.dbl));
    case PT_CURRENCY: return addNumber(tag, static_cast<std::uint64_t>(held.cur.int64));
    case PT_LONGLONG: return addNumber(tag, static_cast<std::uint64_t>(held.li.QuadPart));
    case PT_BOOLEAN: return addNumber(tag, held.b ? 1 : 0);
    case PT_SYSTIME:
      return addNumber(tag, static_cast<std::uint64_t>(held.ft.dwHighDateTime) << 32 | held.ft.dwLowDateTime);
    case PT_UNICODE: return addText(tag, held.lpszW ? held.lpszW : L"");
    case PT_STRING8: return addText(tag, fromAnsi(held.lpszA ? held.lpszA : ""));
    case PT_BINARY: return addBytes(tag, {held.bin.lpb, held.bin.lpb ? held.bin.cb : 0});
    case PT_CLSID: return addFixedList(tag, held.lpguid, held.lpguid ? 1 : 0);
    case PT_MV_SHORT: return addFixedList(tag, held.MVi.lpi, held.MVi.cValues);
    case PT_MV_LONG: return addFixedList(tag, held.MVl.lpl, held.MVl.cValues);
    case PT_MV_FLOAT: return addFixedList(tag, held.MVflt.lpflt, held.MVflt.cValues);
    case PT_MV_DOUBLE: return addFixedList(tag, held.MVdbl.lpdbl, held.MVdbl.cValues);
    case PT_MV_APPTIME: return addFixedList(tag, held.MVat.lpat, held.MVat.cValues);
    case PT_MV_CURRENCY: return addFixedList(tag, held.MVcur.lpcur, held.MVcur.cValues);
    case PT_MV_LONGLONG: return addFixedList(tag, held.MVli.lpli, held.MVli.cValues);
    case PT_MV_SYSTIME: return addFixedList(tag, held.MVft.lpft, held.MVft.cValues);
    case PT_MV_CLSID: return addFixedList(tag, held.MVguid.lpguid, held.MVguid.cValues);
    case PT_MV_BINARY: return addBinaries(value);
    case PT_MV_UNICODE:
      return addTexts(tag, held.MVszW.cValues, [&](ULONG index) -> std::wstring { return held.MVszW.lppszW[index]; });
    case PT_MV_STRING8:
      return addTexts(tag, held.MVszA.cValues, [&](ULONG index) { return fromAnsi(held.MVszA.lppszA[index]); });
    default: return;  // PT_NULL, PT_OBJECT: cannot be written to a file
  }
}

void PropertyStorage::addLong(LongValue value, ULONG tag) {
  const std::string subject = propertyName(value.tag);
  const ComPtr<IStream> stream = newStream(get(), streamName(tag));
  const std::uint64_t copied = copyStream(*value.stream.Get(), subject,
                                          [&](std::span<const std::uint8_t> bytes) { writeAll(*stream.Get(), bytes); });
  if (copied != value.size)
    throw Failure(ExitCode::failed, fmt::format("{} gave {} of its {} bytes. The message was not saved.", subject,
                                                withThousands(copied), withThousands(value.size)));
  addLength(tag, copied + (PROP_TYPE(value.tag) == PT_UNICODE ? sizeof(wchar_t) : 0));
}

void addProperties(PropertyStorage& to, IMAPIProp& object, const ObjectProperties& properties, MsgNames& names) {
  std::vector<ULONG> tags(properties.longTags().begin(), properties.longTags().end());
  for (const SPropValue* value : properties.values()) tags.push_back(value->ulPropTag);
  names.add(object, tags);
  for (const SPropValue* value : properties.values())
    if (const ULONG tag = tagInFile(value->ulPropTag, names)) to.addValue(*value, tag);
  for (const ULONG longTag : properties.longTags())
    if (const ULONG tag = tagInFile(longTag, names)) to.addLong(properties.openLong(longTag), tag);
}

void addAttachment(IStorage& message, ULONG number, const Attachment& attachment, MsgNames& names,
                   const WriteEvents& events) {
  constexpr std::size_t headerSize = 8;
  const std::string subject = fmt::format("Attachment '{}'", printable(attachment.name));
  PropertyStorage to(newStorage(message, toWide(fmt::format("__attach_version1.0_#{:08X}", number))), headerSize);
  addProperties(to, *attachment.object.Get(), ObjectProperties(*attachment.object.Get(), subject), names);
  to.addNumber(PR_ATTACH_NUM, number);
  const std::uint32_t key = number;
  to.addBytes(PR_RECORD_KEY, {reinterpret_cast<const std::uint8_t*>(&key), sizeof key});
  {
    const ComPtr<IStream> data = newStream(to.get(), streamName(PR_ATTACH_DATA_BIN));
    const ComPtr<IStream> bytes = openBytes(*attachment.object.Get());
    const std::uint64_t copied = copyStream(*bytes.Get(), subject, [&](std::span<const std::uint8_t> piece) {
      writeAll(*data.Get(), piece);
      events.copied(piece.size());
    });
    checkWhole(attachment, copied);
  }
  to.addLength(PR_ATTACH_DATA_BIN, attachment.size);
  to.finish();
}

// Writes the names of all properties above 0x8000.
void addNames(IStorage& message, const MsgNames& names) {
  const ComPtr<IStorage> storage = newStorage(message, L"__nameid_version1.0");
  for (const MsgNames::Stream& stream : names.streams())
    writeStream(*storage.Get(), streamName(stream.tag), stream.bytes);
}

ComPtr<IStorage> newFile(const std::wstring& path, std::uint64_t size) {
  STGOPTIONS options{};
  options.usVersion = 1;
  options.ulSectorSize = size > manyBytes ? largeSector : smallSector;
  ComPtr<IStorage> root;
  checkWritten(StgCreateStorageEx(path.c_str(), newElement, STGFMT_DOCFILE, 0, &options, nullptr, IID_IStorage,
                                  reinterpret_cast<void**>(root.GetAddressOf())));
  return root;
}

}  // namespace

void checkMsgBounds(std::span<const Attachment> attachments) {
  constexpr const char* wayOut = "Save it as eml or file, which have no such limit.";
  if (attachments.size() > mostMsgAttachments)
    throw Failure(ExitCode::failed,
                  fmt::format("A .msg file holds at most {} attachments, and the message has {}. {}",
                              withThousands(mostMsgAttachments), withThousands(attachments.size()), wayOut));
  for (const Attachment& attachment : attachments)
    if (attachment.size > longestMsgValue)
      throw Failure(ExitCode::failed,
                    fmt::format("Attachment '{}' has {} bytes; a .msg file holds at most {} of each. {}",
                                printable(attachment.name), withThousands(attachment.size),
                                withThousands(longestMsgValue), wayOut));
}

void writeMsg(IMessage& message, const std::wstring& path, const WriteEvents& events) {
  constexpr std::size_t headerSize = 32, nextAttachment = 12, attachmentCount = 20;
  const ObjectProperties properties(message, "The message");
  std::vector<Attachment> files = attachmentsOf(message);
  std::erase_if(files, [&](const Attachment& attachment) {
    if (!attachment.isFile) events.leftOut(attachment.name);
    return !attachment.isFile;
  });
  checkMsgBounds(files);
  std::uint64_t size = 0;
  for (const Attachment& attachment : files) size += attachment.size;

  PropertyStorage to(newFile(path, size), headerSize);
  checkWritten(to.get().SetClass(messageClassId));
  MsgNames names;
  addProperties(to, message, properties, names);
  to.addNumber(PR_STORE_SUPPORT_MASK, textIsWide);
  // Mail programs open unsent messages for editing; this one was posted.
  to.addNumber(PR_MESSAGE_FLAGS, static_cast<std::uint32_t>(properties.number(PR_MESSAGE_FLAGS).value_or(0)) &
                                     ~static_cast<std::uint32_t>(MSGFLAG_UNSENT));
  for (ULONG number = 0; number < files.size(); ++number) addAttachment(to.get(), number, files[number], names, events);
  addNames(to.get(), names);
  to.setHeader(nextAttachment, static_cast<std::uint32_t>(files.size()));
  to.setHeader(attachmentCount, static_cast<std::uint32_t>(files.size()));
  to.finish();
  checkWritten(to.get().Commit(STGC_DEFAULT));
}

}  // namespace fendrel::host
