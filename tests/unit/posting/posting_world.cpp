#include "posting_world.h"

#include <cstring>

void PrintTo(const SetProperty& property, std::ostream* out) {
  *out << "0x" << std::hex << property.tag << std::dec << " = " << property.number << " \"";
  for (const wchar_t character : property.text) *out << static_cast<char>(character);
  *out << "\" <" << property.bytes << ">";
}

std::vector<SetProperty> copyProperties(const SPropValue* values, ULONG count) {
  std::vector<SetProperty> copies;
  for (ULONG i = 0; i < count; ++i) {
    const SPropValue& value = values[i];
    SetProperty copy{.tag = value.ulPropTag};
    switch (PROP_TYPE(value.ulPropTag)) {
      case PT_UNICODE: copy.text = value.Value.lpszW; break;
      case PT_BINARY: copy.bytes.assign(reinterpret_cast<const char*>(value.Value.bin.lpb), value.Value.bin.cb); break;
      case PT_SYSTIME: std::memcpy(&copy.number, &value.Value.ft, sizeof value.Value.ft); break;
      case PT_LONG: copy.number = value.Value.l; break;
      default: ADD_FAILURE() << "a property of an unexpected type: " << std::hex << value.ulPropTag;
    }
    copies.push_back(std::move(copy));
  }
  return copies;
}

PostedMessage::PostedMessage(MapiHeap& heap, ULONG createFlags) : flags(createFlags) {
  // Every SetProps returns a problem array, which its caller frees.
  const auto keep = [&heap](std::vector<SetProperty>& kept) {
    return [&heap, &kept](ULONG count, SPropValue* values, SPropProblemArray** problems) {
      kept = copyProperties(values, count);
      *problems = heap.make<SPropProblemArray>();
      return S_OK;
    };
  };
  ON_CALL(*this, SetProps).WillByDefault(keep(properties));
  ON_CALL(*this, CreateAttach).WillByDefault(handsOut(attachment));
  ON_CALL(*this, SaveChanges).WillByDefault([this](ULONG) {
    saved = true;
    return S_OK;
  });
  ON_CALL(attachment, SetProps).WillByDefault(keep(attachmentProperties));
  ON_CALL(attachment, OpenProperty).WillByDefault(handsOut(stream));
  ON_CALL(attachment, SaveChanges).WillByDefault([this](ULONG) {
    attachmentSaved = true;
    return S_OK;
  });
  ON_CALL(stream, Write).WillByDefault([this](const void* bytes, ULONG count, ULONG*) {
    content.append(static_cast<const char*>(bytes), count);
    writes.push_back(count);
    return S_OK;
  });
}

const SetProperty* PostedMessage::find(ULONG tag) const {
  for (const SetProperty& property : properties)
    if (property.tag == tag) return &property;
  return nullptr;
}

TestFolder::TestFolder(MapiHeap& heap) : heap_(heap) {
  ON_CALL(*this, CreateMessage).WillByDefault([this](LPCIID, ULONG flags, IMessage** out) {
    messages.push_back(std::make_unique<PostedMessage>(heap_, flags));
    *out = messages.back()->handOut();
    return S_OK;
  });
}

TestStore::TestStore() {
  ON_CALL(*this, OpenEntry)
      .WillByDefault([this](ULONG size, ENTRYID* entryId, LPCIID, ULONG, ULONG* type, IUnknown** out) -> HRESULT {
        const auto found = folders_.find(std::string(reinterpret_cast<const char*>(entryId), size));
        if (found == folders_.end()) return MAPI_E_NOT_FOUND;
        *type = MAPI_FOLDER;
        *out = found->second->handOut();
        return S_OK;
      });
}

TestRow named(const std::string& name, const std::string& entryId) {
  return {text(PR_DISPLAY_NAME_A, name), binary(PR_ENTRYID, entryId)};
}

PostingWorld::PostingWorld() {
  store.put("top-id", top);
  ON_CALL(session, GetMsgStoresTable).WillByDefault(handsOut(stores));
  ON_CALL(session, OpenMsgStore).WillByDefault(handsOut(store));
  EXPECT_CALL(mapi32.functions, getOneProp)
      .Times(testing::AnyNumber())
      .WillRepeatedly([this](IMAPIProp*, ULONG, SPropValue** out) {
        *out = makeValues(mapi32.heap, {binary(PR_IPM_SUBTREE_ENTRYID, "top-id")});
        return S_OK;
      });
}
