#include "message_objects.h"

#include <fmt/format.h>
#include <mapitags.h>

#include <cstring>

#include "buffers.h"
#include "table.h"

namespace recording {

HRESULT setProps(PropertyBag& bag, ULONG count, const SPropValue* values, LPSPropProblemArray* problems) {
  if (count > 0 && !values) return MAPI_E_INVALID_PARAMETER;
  for (ULONG index = 0; index < count; ++index) bag.set(decode(values[index]));
  if (!problems) return S_OK;
  *problems = nullptr;
  if (count == 0 || !world().handsOutProblems()) return S_OK;
  *problems = static_cast<SPropProblemArray*>(buffers().allocate(sizeof(SPropProblemArray), "SetProps' problems"));
  (*problems)->cProblem = 1;
  (*problems)->aProblem[0] = {0, values[0].ulPropTag, MAPI_E_COMPUTED};
  return S_OK;
}

MessageObject::MessageObject(Message& message, bool writable)
    : RefusingMessage("IMessage", message.label, {&IID_IMAPIProp, &IID_IMessage}),
      message_(message),
      writable_(writable) {}

const PropertyBag& MessageObject::readable() const {
  return writable_ ? message_.properties : message_.saved->properties;
}

STDMETHODIMP MessageObject::GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values) {
  return perform("GetProps", "tags=" + columnNames(tags) + " flags=" + hex(flags),
                 [&]() -> HRESULT { return getProps(readable(), tags, flags, count, values); },
                 {.count = count, .values = values});
}

STDMETHODIMP MessageObject::SetProps(ULONG count, LPSPropValue values, LPSPropProblemArray* problems) {
  return perform("SetProps", "count=" + std::to_string(count) + " " + propertyList(values, count), [&]() -> HRESULT {
    return writable_ ? setProps(message_.properties, count, values, problems) : MAPI_E_NO_ACCESS;
  });
}

STDMETHODIMP MessageObject::SaveChanges(ULONG flags) {
  return perform("SaveChanges", "flags=" + hex(flags), [&]() -> HRESULT {
    if (!writable_) return MAPI_E_NO_ACCESS;
    Message::Saved saved{message_.properties, {}};
    for (const auto& attachment : message_.attachments)
      if (attachment->saved) saved.attachments.push_back(*attachment);
    saved.properties.set(binaryProperty(PR_ENTRYID, message_.entryId));
    saved.properties.set(numberProperty(PR_HASATTACH, !saved.attachments.empty()));
    message_.saved = std::move(saved);
    return S_OK;
  });
}

STDMETHODIMP MessageObject::GetAttachmentTable(ULONG flags, LPMAPITABLE* table) {
  return perform("GetAttachmentTable", "flags=" + hex(flags), [&]() -> HRESULT {
    std::vector<PropertyBag> rows;
    const auto add = [&](const Attachment& attachment) {
      rows.push_back(attachment.properties);
      rows.back().set(numberProperty(PR_ATTACH_NUM, static_cast<long long>(rows.size() - 1)));
    };
    if (writable_) {
      for (const auto& attachment : message_.attachments)
        if (attachment->saved) add(*attachment);
    } else {
      for (const Attachment& attachment : message_.saved->attachments) add(attachment);
    }
    *table = objects().make<Table>("attachments of " + label(), std::move(rows));
    return S_OK;
  });
}

STDMETHODIMP MessageObject::OpenAttach(ULONG number, LPCIID interfaceId, ULONG flags, LPATTACH* attachment) {
  return perform("OpenAttach",
                 fmt::format("number={} interface={} flags={:#x}", static_cast<unsigned long>(number),
                             interfaceName(interfaceId), static_cast<unsigned long>(flags)),
                 [&]() -> HRESULT {
                   if (writable_ || number >= message_.saved->attachments.size()) return MAPI_E_NOT_FOUND;
                   auto copy = std::make_shared<Attachment>(message_.saved->attachments[number]);
                   *attachment =
                       objects().make<AttachObject>(label() + " attachment " + std::to_string(number), copy, false);
                   return S_OK;
                 });
}

STDMETHODIMP MessageObject::CreateAttach(LPCIID interfaceId, ULONG flags, ULONG* number, LPATTACH* attachment) {
  return perform("CreateAttach", "interface=" + interfaceName(interfaceId) + " flags=" + hex(flags),
                 [&]() -> HRESULT {
                   if (!writable_) return MAPI_E_NO_ACCESS;
                   if (!number || !attachment) return MAPI_E_INVALID_PARAMETER;
                   *number = static_cast<ULONG>(message_.attachments.size());
                   auto made = message_.attachments.emplace_back(std::make_shared<Attachment>());
                   *attachment =
                       objects().make<AttachObject>(label() + " attachment " + std::to_string(*number), made, true);
                   return S_OK;
                 },
                 {.object = asObject(attachment)});
}

STDMETHODIMP MessageObject::SetReadFlag(ULONG flags) {
  return perform("SetReadFlag", "flags=" + hex(flags), [&]() -> HRESULT {
    message_.readFlags.push_back(flags);
    return S_OK;
  });
}

AttachObject::AttachObject(std::string label, std::shared_ptr<Attachment> attachment, bool writable)
    : RefusingAttach("IAttach", std::move(label), {&IID_IMAPIProp, &IID_IAttachment}),
      attachment_(std::move(attachment)),
      writable_(writable) {}

STDMETHODIMP AttachObject::GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values) {
  return perform("GetProps", "tags=" + columnNames(tags) + " flags=" + hex(flags),
                 [&]() -> HRESULT { return getProps(attachment_->properties, tags, flags, count, values); },
                 {.count = count, .values = values});
}

STDMETHODIMP AttachObject::SetProps(ULONG count, LPSPropValue values, LPSPropProblemArray* problems) {
  return perform("SetProps", "count=" + std::to_string(count) + " " + propertyList(values, count), [&]() -> HRESULT {
    return writable_ ? setProps(attachment_->properties, count, values, problems) : MAPI_E_NO_ACCESS;
  });
}

STDMETHODIMP AttachObject::SaveChanges(ULONG flags) {
  return perform("SaveChanges", "flags=" + hex(flags), [&]() -> HRESULT {
    if (!writable_) return MAPI_E_NO_ACCESS;
    attachment_->saved = true;
    return S_OK;
  });
}

STDMETHODIMP AttachObject::OpenProperty(ULONG tag, LPCIID interfaceId, ULONG interfaceOptions, ULONG flags,
                                        LPUNKNOWN* object) {
  return perform(
      "OpenProperty",
      fmt::format("property={} interface={} options={:#x} flags={:#x}", propertyName(tag), interfaceName(interfaceId),
                  static_cast<unsigned long>(interfaceOptions), static_cast<unsigned long>(flags)),
      [&]() -> HRESULT {
        if (!interfaceId || !IsEqualIID(*interfaceId, IID_IStream)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
        if (tag != PR_ATTACH_DATA_BIN) return MAPI_E_NOT_FOUND;
        const bool writes = (flags & MAPI_MODIFY) != 0;
        if (writes && !writable_) return MAPI_E_NO_ACCESS;
        if ((interfaceOptions & STGM_CREATE) != 0) attachment_->content.clear();
        *object = objects().make<ContentStream>(label() + " content", attachment_, writes);
        return S_OK;
      },
      {.object = object});
}

ContentStream::ContentStream(std::string label, std::shared_ptr<Attachment> attachment, bool writable)
    : Object("IStream", std::move(label), {&IID_ISequentialStream, &IID_IStream}),
      attachment_(std::move(attachment)),
      writable_(writable) {}

STDMETHODIMP ContentStream::Read(void* bytes, ULONG size, ULONG* read) {
  return perform("Read", "bytes=" + std::to_string(size), [&]() -> HRESULT {
    const Bytes& content = attachment_->content;
    const std::size_t count = position_ < content.size() ? std::min<std::size_t>(size, content.size() - position_) : 0;
    if (count) std::memcpy(bytes, content.data() + position_, count);
    position_ += count;
    if (read) *read = static_cast<ULONG>(count);
    return S_OK;
  });
}

STDMETHODIMP ContentStream::Write(const void* bytes, ULONG size, ULONG* written) {
  return perform("Write", "bytes=" + std::to_string(size),
                 [&]() -> HRESULT {
                   if (!writable_) return STG_E_ACCESSDENIED;
                   Bytes& content = attachment_->content;
                   if (content.size() < position_ + size) content.resize(position_ + size);
                   if (size) std::memcpy(content.data() + position_, bytes, size);
                   position_ += size;
                   if (written) *written = size;
                   return S_OK;
                 },
                 {.written = written});
}

STDMETHODIMP ContentStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
  return perform("Seek", fmt::format("move={} origin={}", move.QuadPart, static_cast<unsigned long>(origin)),
                 [&]() -> HRESULT {
                   const auto start = origin == STREAM_SEEK_SET   ? 0
                                      : origin == STREAM_SEEK_CUR ? static_cast<long long>(position_)
                                                                  : static_cast<long long>(attachment_->content.size());
                   if (start + move.QuadPart < 0) return STG_E_INVALIDFUNCTION;
                   position_ = static_cast<std::size_t>(start + move.QuadPart);
                   if (position) position->QuadPart = position_;
                   return S_OK;
                 });
}

STDMETHODIMP ContentStream::SetSize(ULARGE_INTEGER size) {
  return perform("SetSize", "bytes=" + std::to_string(size.QuadPart), [&]() -> HRESULT {
    if (!writable_) return STG_E_ACCESSDENIED;
    attachment_->content.resize(static_cast<std::size_t>(size.QuadPart));
    return S_OK;
  });
}

STDMETHODIMP ContentStream::Commit(DWORD flags) {
  return perform("Commit", "flags=" + hex(flags), [] { return S_OK; });
}

STDMETHODIMP ContentStream::Stat(STATSTG* status, DWORD flags) {
  return perform("Stat", "flags=" + hex(flags), [&]() -> HRESULT {
    *status = {};
    status->type = STGTY_STREAM;
    status->cbSize.QuadPart = attachment_->content.size();
    return S_OK;
  });
}

STDMETHODIMP ContentStream::CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) {
  return refuse("CopyTo");
}
STDMETHODIMP ContentStream::Revert() { return refuse("Revert"); }
STDMETHODIMP ContentStream::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return refuse("LockRegion"); }
STDMETHODIMP ContentStream::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return refuse("UnlockRegion"); }
STDMETHODIMP ContentStream::Clone(IStream**) { return refuse("Clone"); }

}  // namespace recording
