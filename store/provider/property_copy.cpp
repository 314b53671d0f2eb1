#include "property_copy.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "mapi_interfaces.h"
#include "object_reading.h"
#include "problems.h"
#include "property_values.h"

namespace fendrel::provider {
namespace {

constexpr ULONG firstNamed = 0x8000;
constexpr std::size_t pieceSize = 64 * 1024;

// Computed by each provider for its own objects, so not copied.
constexpr ULONG ownOfEachObject[] = {PROP_ID(PR_OBJECT_TYPE),
                                     PROP_ID(PR_ENTRYID),
                                     PROP_ID(PR_RECORD_KEY),
                                     PROP_ID(PR_SEARCH_KEY),
                                     PROP_ID(PR_INSTANCE_KEY),
                                     PROP_ID(PR_PARENT_ENTRYID),
                                     PROP_ID(PR_STORE_ENTRYID),
                                     PROP_ID(PR_STORE_RECORD_KEY),
                                     PROP_ID(PR_MAPPING_SIGNATURE),
                                     PROP_ID(PR_MDB_PROVIDER),
                                     PROP_ID(PR_ACCESS),
                                     PROP_ID(PR_ACCESS_LEVEL),
                                     PROP_ID(PR_STORE_SUPPORT_MASK),
                                     PROP_ID(PR_CREATION_TIME),
                                     PROP_ID(PR_LAST_MODIFICATION_TIME),
                                     PROP_ID(PR_MESSAGE_SIZE),
                                     PROP_ID(PR_HASATTACH),
                                     PROP_ID(PR_NORMALIZED_SUBJECT_W),
                                     PROP_ID(PR_DISPLAY_TO_W),
                                     PROP_ID(PR_DISPLAY_CC_W),
                                     PROP_ID(PR_DISPLAY_BCC_W),
                                     PROP_ID(PR_MSG_STATUS),
                                     PROP_ID(PR_ATTACH_NUM),
                                     PROP_ID(PR_ATTACH_SIZE),
                                     PROP_ID(PR_FOLDER_TYPE),
                                     PROP_ID(PR_SUBFOLDERS),
                                     PROP_ID(PR_CONTENT_COUNT),
                                     PROP_ID(PR_CONTENT_UNREAD),
                                     PROP_ID(PR_ASSOC_CONTENT_COUNT),
                                     PROP_ID(PR_STATUS),
                                     PROP_ID(PR_DISPLAY_TYPE)};

bool isOwn(ULONG tag) { return std::ranges::find(ownOfEachObject, PROP_ID(tag)) != std::end(ownOfEachObject); }

bool contains(const SPropTagArray* tags, ULONG tag) {
  return tags && std::ranges::any_of(tagsOf(*tags), [&](ULONG one) { return PROP_ID(one) == PROP_ID(tag); });
}

template <class Interface>
ComPtr<Interface> as(IUnknown& object, REFIID iid) {
  ComPtr<Interface> found;
  if (FAILED(object.QueryInterface(iid, reinterpret_cast<void**>(found.GetAddressOf())))) return {};
  return found;
}

store::Bytes binaryOf(IMAPIProp& object, ULONG tag) {
  MapiBuffer<SPropValue> value;
  if (FAILED(readOne(object, tag, value))) return {};
  const auto* bytes = reinterpret_cast<const std::byte*>(value->Value.bin.lpb);
  return {bytes, bytes + value->Value.bin.cb};
}

// A property to copy: its tag in the target, and its value if it is not long.
struct Item {
  ULONG index;  // in the caller's list, for problems
  ULONG from, to;
  const SPropValue* value;  // null: copy as a stream
};

class Copy {
 public:
  Copy(IMAPIProp& source, IMAPIProp& target, ULONG flags) : source_(source), target_(target), flags_(flags) {}

  // Reads all values that are not long, and the tags of the long ones.
  HRESULT read() {
    ULONG count = 0;
    SPropValue* values = nullptr;
    const HRESULT result = source_.GetProps(nullptr, MAPI_UNICODE, &count, &values);
    values_.reset(values);
    if (FAILED(result)) return result;
    valueCount_ = count;
    LPSPropTagArray tags = nullptr;
    const HRESULT listed = source_.GetPropList(MAPI_UNICODE, &tags);
    tags_.reset(tags);
    return listed;
  }

  // The tags of all existing properties in the source.
  std::span<const ULONG> tags() const { return tagsOf(*tags_); }

  // The tag of an existing property, of any type; 0 if there is none.
  ULONG find(ULONG tag) const {
    const auto found = std::ranges::find(tags(), PROP_ID(tag), [](ULONG one) { return PROP_ID(one); });
    return found == tags().end() ? 0 : *found;
  }

  void add(ULONG index, ULONG tag) { items_.push_back({index, tag, tag, valueOf(tag)}); }
  void addProblem(ULONG index, ULONG tag, HRESULT problem) { problems_.add(index, tag, problem); }

  HRESULT run() {
    if (const HRESULT result = translateNames(); FAILED(result)) return result;
    if (flags_ & MAPI_NOREPLACE) {
      if (const HRESULT result = leaveOutPresent(); FAILED(result)) return result;
    }
    if (const HRESULT result = setValues(); FAILED(result)) return result;
    for (const Item& item : items_) {
      if (!item.value) note(item, stream(item));
    }
    return flags_ & MAPI_MOVE ? removeMoved() : S_OK;
  }

  const Problems& problems() const { return problems_; }

 private:
  const SPropValue* valueOf(ULONG tag) const {
    for (ULONG i = 0; i < valueCount_; ++i) {
      const SPropValue& value = values_.get()[i];
      if (PROP_ID(value.ulPropTag) == PROP_ID(tag)) return PROP_TYPE(value.ulPropTag) == PT_ERROR ? nullptr : &value;
    }
    return nullptr;
  }

  void note(const Item& item, HRESULT result) {
    if (FAILED(result))
      problems_.add(item.index, item.from, result);
    else
      copied_.push_back(item.from);
  }

  // Each store has its own identifiers for names, unless both have the same PR_MAPPING_SIGNATURE.
  HRESULT translateNames() {
    std::vector<ULONG> named;
    for (const Item& item : items_) {
      if (PROP_ID(item.from) >= firstNamed) named.push_back(item.from);
    }
    if (named.empty()) return S_OK;
    const store::Bytes signature = binaryOf(source_, PR_MAPPING_SIGNATURE);
    if (!signature.empty() && signature == binaryOf(target_, PR_MAPPING_SIGNATURE)) return S_OK;
    auto asked = makeTagArray(named);
    LPSPropTagArray askedTags = asked.get();
    ULONG count = 0;
    LPMAPINAMEID* raw = nullptr;
    const HRESULT result = source_.GetNamesFromIDs(&askedTags, nullptr, 0, &count, &raw);
    const MapiBuffer<LPMAPINAMEID> names(raw);
    if (FAILED(result)) return result;
    std::vector<LPMAPINAMEID> known;
    for (ULONG i = 0; i < count; ++i) {
      if (raw[i]) known.push_back(raw[i]);
    }
    MapiBuffer<SPropTagArray> given;
    if (!known.empty()) {
      LPSPropTagArray tags = nullptr;
      const HRESULT answered =
          target_.GetIDsFromNames(static_cast<ULONG>(known.size()), known.data(), MAPI_CREATE, &tags);
      given.reset(tags);
      if (FAILED(answered)) return answered;
    }
    std::size_t at = 0, next = 0;
    std::erase_if(items_, [&](Item& item) {
      if (PROP_ID(item.from) < firstNamed) return false;
      const bool hasName = raw[at++] != nullptr;
      const ULONG tag = hasName ? given->aulPropTag[next++] : 0;
      if (PROP_ID(tag) == 0) {
        problems_.add(item.index, item.from, MAPI_E_NOT_FOUND);
        return true;
      }
      item.to = PROP_TAG(PROP_TYPE(item.from), PROP_ID(tag));
      return false;
    });
    return S_OK;
  }

  HRESULT leaveOutPresent() {
    LPSPropTagArray raw = nullptr;
    const HRESULT result = target_.GetPropList(MAPI_UNICODE, &raw);
    const MapiBuffer<SPropTagArray> present(raw);
    if (FAILED(result)) return result;
    std::erase_if(items_, [&](const Item& item) { return contains(present.get(), item.to); });
    return S_OK;
  }

  HRESULT setValues() {
    std::vector<SPropValue> values;
    std::vector<const Item*> sources;
    for (const Item& item : items_) {
      if (!item.value) continue;
      values.push_back(*item.value);
      values.back().ulPropTag = PROP_TAG(PROP_TYPE(item.value->ulPropTag), PROP_ID(item.to));
      sources.push_back(&item);
    }
    if (values.empty()) return S_OK;
    LPSPropProblemArray raw = nullptr;
    const HRESULT result = target_.SetProps(static_cast<ULONG>(values.size()), values.data(), &raw);
    const MapiBuffer<SPropProblemArray> refused(raw);
    if (FAILED(result)) return result;
    std::vector<HRESULT> results(values.size(), S_OK);
    for (ULONG i = 0; refused && i < refused->cProblem; ++i) {
      const SPropProblem& problem = refused->aProblem[i];
      if (problem.ulIndex < results.size()) results[problem.ulIndex] = problem.scode;
    }
    for (std::size_t i = 0; i < sources.size(); ++i) note(*sources[i], results[i]);
    return S_OK;
  }

  HRESULT stream(const Item& item) {
    ComPtr<IStream> from, to;
    HRESULT result =
        source_.OpenProperty(item.from, &IID_IStream, STGM_READ, 0, reinterpret_cast<LPUNKNOWN*>(from.GetAddressOf()));
    if (FAILED(result)) return result;
    const ULONG tag = PROP_TAG(PROP_TYPE(item.from), PROP_ID(item.to));
    result = target_.OpenProperty(tag, &IID_IStream, STGM_READWRITE | STGM_CREATE, MAPI_CREATE | MAPI_MODIFY,
                                  reinterpret_cast<LPUNKNOWN*>(to.GetAddressOf()));
    if (FAILED(result)) return result;
    std::vector<std::byte> piece(pieceSize);
    for (;;) {
      ULONG count = 0, written = 0;
      if (result = from->Read(piece.data(), static_cast<ULONG>(piece.size()), &count); FAILED(result)) return result;
      if (count == 0) break;
      if (result = to->Write(piece.data(), count, &written); FAILED(result)) return result;
      if (written != count) return MAPI_E_NOT_ENOUGH_DISK;
    }
    result = to->Commit(STGC_DEFAULT);
    return result == E_NOTIMPL ? S_OK : result;
  }

  HRESULT removeMoved() {
    if (copied_.empty()) return S_OK;
    auto tags = makeTagArray(copied_);
    return source_.DeleteProps(tags.get(), nullptr);
  }

  IMAPIProp& source_;
  IMAPIProp& target_;
  ULONG flags_;
  MapiBuffer<SPropValue> values_;
  ULONG valueCount_ = 0;
  MapiBuffer<SPropTagArray> tags_;
  std::vector<Item> items_;
  std::vector<ULONG> copied_;
  Problems problems_;
};

// The numbers of a message's attachments.
HRESULT attachmentsOf(IMessage& message, std::vector<ULONG>& numbers) {
  ComPtr<IMAPITable> table;
  if (const HRESULT result = message.GetAttachmentTable(0, table.GetAddressOf()); FAILED(result)) return result;
  const SPropTagArray columns{1, {PR_ATTACH_NUM}};
  MapiRows rows;
  if (const HRESULT result = readAllRows(*table.Get(), &columns, nullptr, nullptr, 0, rows); FAILED(result)) {
    return result;
  }
  for (ULONG row = 0; row < rows->cRows; ++row) {
    numbers.push_back(static_cast<ULONG>(rows->aRow[row].lpProps[0].Value.l));
  }
  return S_OK;
}

HRESULT copyAttachment(IMessage& source, ULONG number, IMessage& target) {
  ComPtr<IAttach> from, to;
  ULONG newNumber = 0;
  HRESULT result = source.OpenAttach(number, nullptr, 0, from.GetAddressOf());
  if (SUCCEEDED(result)) result = target.CreateAttach(nullptr, 0, &newNumber, to.GetAddressOf());
  if (FAILED(result)) return result;
  LPSPropProblemArray raw = nullptr;
  result = copyTo(*from.Get(), {}, nullptr, &IID_IAttachment, to.Get(), 0, &raw);
  const MapiBuffer<SPropProblemArray> problems(raw);
  // An attachment without its content is a failure.
  for (ULONG i = 0; SUCCEEDED(result) && problems && i < problems->cProblem; ++i) {
    if (PROP_ID(problems->aProblem[i].ulPropTag) == PROP_ID(PR_ATTACH_DATA_BIN)) result = problems->aProblem[i].scode;
  }
  return SUCCEEDED(result) ? to->SaveChanges(0) : result;
}

HRESULT copyAttachments(IMessage& source, IMessage& target, ULONG flags) {
  std::vector<ULONG> numbers;
  if (const HRESULT result = attachmentsOf(source, numbers); FAILED(result)) return result;
  for (const ULONG number : numbers) {
    if (const HRESULT result = copyAttachment(source, number, target); FAILED(result)) return result;
    if (flags & MAPI_MOVE) {
      if (const HRESULT result = source.DeleteAttach(number, 0, nullptr, 0); FAILED(result)) return result;
    }
  }
  return S_OK;
}

// The entry identifiers of a table's rows, and the rows that hold their bytes.
HRESULT entriesOf(IMAPITable& table, MapiRows& rows, std::vector<SBinary>& entries) {
  const SPropTagArray columns{1, {PR_ENTRYID}};
  if (const HRESULT result = readAllRows(table, &columns, nullptr, nullptr, 0, rows); FAILED(result)) return result;
  for (ULONG row = 0; row < rows->cRows; ++row) {
    const SPropValue& id = rows->aRow[row].lpProps[0];
    if (id.ulPropTag == PR_ENTRYID) entries.push_back(id.Value.bin);
  }
  return S_OK;
}

HRESULT copyContents(IMAPIFolder& source, IMAPIFolder& target, ULONG kind, ULONG flags) {
  ComPtr<IMAPITable> table;
  if (const HRESULT result = source.GetContentsTable(kind, table.GetAddressOf()); FAILED(result)) return result;
  MapiRows rows;
  std::vector<SBinary> entries;
  if (const HRESULT result = entriesOf(*table.Get(), rows, entries); FAILED(result)) return result;
  if (entries.empty()) return S_OK;
  ENTRYLIST list{static_cast<ULONG>(entries.size()), entries.data()};
  return source.CopyMessages(&list, &IID_IMAPIFolder, &target, 0, nullptr, flags & MAPI_MOVE ? MESSAGE_MOVE : 0);
}

HRESULT copyFolders(IMAPIFolder& source, IMAPIFolder& target, ULONG flags) {
  ComPtr<IMAPITable> table;
  if (const HRESULT result = source.GetHierarchyTable(0, table.GetAddressOf()); FAILED(result)) return result;
  MapiRows rows;
  std::vector<SBinary> entries;
  if (const HRESULT result = entriesOf(*table.Get(), rows, entries); FAILED(result)) return result;
  HRESULT worst = S_OK;
  for (const SBinary& entry : entries) {
    const HRESULT result =
        source.CopyFolder(entry.cb, reinterpret_cast<LPENTRYID>(entry.lpb), &IID_IMAPIFolder, &target, nullptr, 0,
                          nullptr, flags & MAPI_MOVE ? FOLDER_MOVE : COPY_SUBFOLDERS);
    if (FAILED(result)) return result;
    if (result != S_OK) worst = result;
  }
  return worst;
}

// The contained objects to copy.
struct Company {
  bool attachments = false, contents = false, associated = false, folders = false;
};

HRESULT copyCompany(IMAPIProp& source, IMAPIProp& target, const Company& company, ULONG flags) {
  if (company.attachments) {
    return copyAttachments(*as<IMessage>(source, IID_IMessage).Get(), *as<IMessage>(target, IID_IMessage).Get(), flags);
  }
  const auto from = as<IMAPIFolder>(source, IID_IMAPIFolder), to = as<IMAPIFolder>(target, IID_IMAPIFolder);
  HRESULT worst = S_OK;
  const auto note = [&](HRESULT result) {
    if (result != S_OK && SUCCEEDED(worst)) worst = result;
    return SUCCEEDED(result);
  };
  if (company.contents && !note(copyContents(*from.Get(), *to.Get(), 0, flags))) return worst;
  if (company.associated && !note(copyContents(*from.Get(), *to.Get(), MAPI_ASSOCIATED, flags))) return worst;
  if (company.folders) note(copyFolders(*from.Get(), *to.Get(), flags));
  return worst;
}

HRESULT targetOf(LPCIID iid, void* target, ULONG flags, ComPtr<IMAPIProp>& object) {
  constexpr ULONG known = MAPI_MOVE | MAPI_NOREPLACE | MAPI_DIALOG | MAPI_DECLINE_OK;
  if (!iid || !target) return MAPI_E_INVALID_PARAMETER;
  if (flags & ~known) return MAPI_E_UNKNOWN_FLAGS;
  object = as<IMAPIProp>(*static_cast<IUnknown*>(target), IID_IMAPIProp);
  const bool isSo = object && as<IUnknown>(*object.Get(), *iid);
  return isSo ? S_OK : MAPI_E_INTERFACE_NOT_SUPPORTED;
}

bool areSame(IUnknown& one, IUnknown& other) {
  return as<IUnknown>(one, IID_IUnknown).Get() == as<IUnknown>(other, IID_IUnknown).Get();
}

}  // namespace

bool mayBeChanged(IMAPIProp& object) {
  MapiBuffer<SPropValue> level;
  return FAILED(readOne(object, PR_ACCESS_LEVEL, level)) || (level->Value.l & static_cast<LONG>(MAPI_MODIFY)) != 0;
}

HRESULT copyTo(IMAPIProp& source, std::span<const IID> excludedInterfaces, const SPropTagArray* excluded, LPCIID iid,
               void* target, ULONG flags, LPSPropProblemArray* problems) {
  if (problems) *problems = nullptr;
  ComPtr<IMAPIProp> to;
  if (const HRESULT result = targetOf(iid, target, flags, to); FAILED(result)) return result;
  if (areSame(source, *to.Get())) return MAPI_E_NO_ACCESS;
  const auto isExcluded = [&](REFIID one) {
    return std::ranges::find(excludedInterfaces, one) != excludedInterfaces.end();
  };
  if (isExcluded(IID_IMAPIProp)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
  const auto bothAre = [&](REFIID one) {
    return !isExcluded(one) && as<IUnknown>(source, one) && as<IUnknown>(*to.Get(), one);
  };
  if (!mayBeChanged(*to.Get()) || ((flags & MAPI_MOVE) && !mayBeChanged(source))) return MAPI_E_NO_ACCESS;
  const bool isFolder = as<IUnknown>(source, IID_IMAPIFolder);
  Copy copy(source, *to.Get(), flags);
  if (const HRESULT result = copy.read(); FAILED(result)) return result;
  ULONG index = 0;
  for (const ULONG tag : copy.tags()) {
    const bool isName = isFolder && PROP_ID(tag) == PROP_ID(PR_DISPLAY_NAME_W);
    if (PROP_TYPE(tag) != PT_OBJECT && !isOwn(tag) && !isName && !contains(excluded, tag)) copy.add(index, tag);
    ++index;
  }
  if (const HRESULT result = copy.run(); FAILED(result)) return result;
  Company company;
  company.attachments = bothAre(IID_IMessage) && !contains(excluded, PR_MESSAGE_ATTACHMENTS);
  if (bothAre(IID_IMAPIFolder)) {
    company.contents = !contains(excluded, PR_CONTAINER_CONTENTS);
    company.associated = !contains(excluded, PR_FOLDER_ASSOCIATED_CONTENTS);
    company.folders = !contains(excluded, PR_CONTAINER_HIERARCHY);
  }
  const HRESULT result = copyCompany(source, *to.Get(), company, flags);
  if (SUCCEEDED(result)) copy.problems().handOut(problems);
  return result;
}

HRESULT copyProps(IMAPIProp& source, const SPropTagArray* included, LPCIID iid, void* target, ULONG flags,
                  LPSPropProblemArray* problems) {
  if (problems) *problems = nullptr;
  if (!included || included->cValues == 0) return MAPI_E_INVALID_PARAMETER;
  ComPtr<IMAPIProp> to;
  if (const HRESULT result = targetOf(iid, target, flags, to); FAILED(result)) return result;
  if (areSame(source, *to.Get())) return MAPI_E_NO_ACCESS;
  if (!mayBeChanged(*to.Get()) || ((flags & MAPI_MOVE) && !mayBeChanged(source))) return MAPI_E_NO_ACCESS;
  const auto bothAre = [&](REFIID one) { return as<IUnknown>(source, one) && as<IUnknown>(*to.Get(), one); };
  Copy copy(source, *to.Get(), flags);
  if (const HRESULT result = copy.read(); FAILED(result)) return result;
  Company company;
  for (ULONG index = 0; index < included->cValues; ++index) {
    const ULONG asked = included->aulPropTag[index], tag = copy.find(asked);
    const bool isOfMessages = bothAre(IID_IMessage), isOfFolders = bothAre(IID_IMAPIFolder);
    if (asked == PR_NULL) continue;
    if (tag == 0)
      copy.addProblem(index, asked, MAPI_E_NOT_FOUND);
    else if (PROP_TYPE(tag) != PT_OBJECT)
      copy.add(index, tag);
    else if (tag == PR_MESSAGE_ATTACHMENTS && isOfMessages)
      company.attachments = true;
    else if (tag == PR_CONTAINER_CONTENTS && isOfFolders)
      company.contents = true;
    else if (tag == PR_FOLDER_ASSOCIATED_CONTENTS && isOfFolders)
      company.associated = true;
    else if (tag == PR_CONTAINER_HIERARCHY && isOfFolders)
      company.folders = true;
    else if (tag != PR_MESSAGE_RECIPIENTS)
      copy.addProblem(index, asked, MAPI_E_NO_SUPPORT);
  }
  if (const HRESULT result = copy.run(); FAILED(result)) return result;
  const HRESULT result = copyCompany(source, *to.Get(), company, flags);
  if (SUCCEEDED(result)) copy.problems().handOut(problems);
  return result;
}

HRESULT copyMessageInto(IMessage& source, bool isAssociated, IMAPIFolder& target) {
  ComPtr<IMessage> made;
  LPSPropProblemArray raw = nullptr;
  HRESULT result = target.CreateMessage(nullptr, isAssociated ? MAPI_ASSOCIATED : 0, made.GetAddressOf());
  if (SUCCEEDED(result)) result = copyTo(source, {}, nullptr, &IID_IMessage, made.Get(), 0, &raw);
  const MapiBuffer<SPropProblemArray> problems(raw);
  if (SUCCEEDED(result)) result = made->SaveChanges(0);
  if (FAILED(result) || !problems) return result;
  // Properties that the other provider computes are not lost.
  const bool isWhole = std::all_of(problems->aProblem, problems->aProblem + problems->cProblem,
                                   [](const SPropProblem& problem) { return problem.scode == MAPI_E_COMPUTED; });
  return isWhole ? S_OK : MAPI_W_ERRORS_RETURNED;
}

HRESULT copyFolderInto(IMAPIFolder& source, IMAPIFolder& target, bool withFolders, bool move) {
  const HRESULT result = copyTo(source, std::span(&IID_IMAPIFolder, 1), nullptr, &IID_IMAPIProp, &target, 0, nullptr);
  if (FAILED(result)) return result;
  return copyCompany(source, target, {false, true, true, withFolders}, move ? MAPI_MOVE : 0);
}

}  // namespace fendrel::provider
