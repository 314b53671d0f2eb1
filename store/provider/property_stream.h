// IStream over a property's content.
#pragma once

#include <memory>
#include <mutex>

#include "mapi_interfaces.h"
#include "stream_content.h"

namespace fendrel::provider {

// In direct mode: writes go to the content at once. Clones share the content, not the position.
class PropertyStream final : public ComObject<IStream> {
 public:
  PropertyStream(std::shared_ptr<std::recursive_mutex> mutex, std::shared_ptr<StreamContent> content, bool writable,
                 std::uint64_t position = 0)
      : mutex_(std::move(mutex)), content_(std::move(content)), writable_(writable), position_(position) {}

  STDMETHODIMP Read(void* buffer, ULONG size, ULONG* read) override;
  STDMETHODIMP Write(const void* buffer, ULONG size, ULONG* written) override;
  STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
  STDMETHODIMP SetSize(ULARGE_INTEGER size) override;
  STDMETHODIMP CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read, ULARGE_INTEGER* written) override;
  STDMETHODIMP Commit(DWORD flags) override;
  STDMETHODIMP Revert() override;
  STDMETHODIMP LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) override;
  STDMETHODIMP UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) override;
  STDMETHODIMP Stat(STATSTG* statistics, DWORD flag) override;
  STDMETHODIMP Clone(IStream** clone) override;

 private:
  std::shared_ptr<std::recursive_mutex> mutex_;
  std::shared_ptr<StreamContent> content_;
  bool writable_;
  std::uint64_t position_;
};

}  // namespace fendrel::provider
