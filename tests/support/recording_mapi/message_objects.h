// IMessage, IAttach and the stream on an attachment's content.
#pragma once

#include "object.h"
#include "world_model.h"

namespace recording {

// SetProps on a bag, with the problem array that the world may want.
HRESULT setProps(PropertyBag& bag, ULONG count, const SPropValue* values, LPSPropProblemArray* problems);

// Either the message's creator, who changes it, or a reader of its saved state.
class MessageObject final : public RefusingMessage {
 public:
  MessageObject(Message& message, bool writable);

  STDMETHODIMP GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values) override;
  STDMETHODIMP SetProps(ULONG count, LPSPropValue values, LPSPropProblemArray* problems) override;
  STDMETHODIMP SaveChanges(ULONG flags) override;
  STDMETHODIMP GetAttachmentTable(ULONG flags, LPMAPITABLE* table) override;
  STDMETHODIMP OpenAttach(ULONG number, LPCIID interfaceId, ULONG flags, LPATTACH* attachment) override;
  STDMETHODIMP CreateAttach(LPCIID interfaceId, ULONG flags, ULONG* number, LPATTACH* attachment) override;
  STDMETHODIMP SetReadFlag(ULONG flags) override;

 private:
  const PropertyBag& readable() const;

  Message& message_;
  bool writable_;
};

class AttachObject final : public RefusingAttach {
 public:
  AttachObject(std::string label, std::shared_ptr<Attachment> attachment, bool writable);

  STDMETHODIMP GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values) override;
  STDMETHODIMP SetProps(ULONG count, LPSPropValue values, LPSPropProblemArray* problems) override;
  STDMETHODIMP SaveChanges(ULONG flags) override;
  STDMETHODIMP OpenProperty(ULONG tag, LPCIID interfaceId, ULONG interfaceOptions, ULONG flags,
                            LPUNKNOWN* object) override;

 private:
  std::shared_ptr<Attachment> attachment_;
  bool writable_;
};

class ContentStream final : public Object<IStream> {
 public:
  ContentStream(std::string label, std::shared_ptr<Attachment> attachment, bool writable);

  STDMETHODIMP Read(void* bytes, ULONG size, ULONG* read) override;
  STDMETHODIMP Write(const void* bytes, ULONG size, ULONG* written) override;
  STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
  STDMETHODIMP SetSize(ULARGE_INTEGER size) override;
  STDMETHODIMP CopyTo(IStream* stream, ULARGE_INTEGER size, ULARGE_INTEGER* read, ULARGE_INTEGER* written) override;
  STDMETHODIMP Commit(DWORD flags) override;
  STDMETHODIMP Revert() override;
  STDMETHODIMP LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) override;
  STDMETHODIMP UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) override;
  STDMETHODIMP Stat(STATSTG* status, DWORD flags) override;
  STDMETHODIMP Clone(IStream** stream) override;

 private:
  std::shared_ptr<Attachment> attachment_;
  bool writable_;
  std::size_t position_ = 0;
};

}  // namespace recording
