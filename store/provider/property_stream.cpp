#include "property_stream.h"

#include <algorithm>
#include <array>

namespace fendrel::provider {

STDMETHODIMP PropertyStream::Read(void* buffer, ULONG size, ULONG* read) {
  if (read) *read = 0;
  if (!buffer) return STG_E_INVALIDPOINTER;
  return guarded(*mutex_, [&]() -> HRESULT {
    std::size_t count = 0;
    const HRESULT result = content_->read(position_, {static_cast<std::byte*>(buffer), size}, count);
    if (FAILED(result)) return result;
    position_ += count;
    if (read) *read = static_cast<ULONG>(count);
    return S_OK;
  });
}

STDMETHODIMP PropertyStream::Write(const void* buffer, ULONG size, ULONG* written) {
  if (written) *written = 0;
  if (!buffer) return STG_E_INVALIDPOINTER;
  if (!writable_) return STG_E_ACCESSDENIED;
  return guarded(*mutex_, [&] {
    const HRESULT result = content_->write(position_, {static_cast<const std::byte*>(buffer), size});
    if (FAILED(result)) return result;
    position_ += size;
    if (written) *written = size;
    return S_OK;
  });
}

STDMETHODIMP PropertyStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
  return guarded(*mutex_, [&]() -> HRESULT {
    std::uint64_t from = 0;
    switch (origin) {
      case STREAM_SEEK_SET: break;
      case STREAM_SEEK_CUR: from = position_; break;
      case STREAM_SEEK_END: from = content_->size(); break;
      default: return STG_E_INVALIDFUNCTION;
    }
    if (move.QuadPart < 0 && from < static_cast<std::uint64_t>(-(move.QuadPart + 1)) + 1) return STG_E_INVALIDFUNCTION;
    const std::uint64_t to = from + static_cast<std::uint64_t>(move.QuadPart);
    if (to >> 63) return STG_E_INVALIDFUNCTION;
    position_ = to;
    if (position) position->QuadPart = position_;
    return S_OK;
  });
}

STDMETHODIMP PropertyStream::SetSize(ULARGE_INTEGER size) {
  if (!writable_) return STG_E_ACCESSDENIED;
  if (size.QuadPart >> 63) return STG_E_INVALIDFUNCTION;
  return guarded(*mutex_, [&] { return content_->resize(size.QuadPart); });
}

STDMETHODIMP PropertyStream::CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                                    ULARGE_INTEGER* written) {
  if (!target) return STG_E_INVALIDPOINTER;
  ULARGE_INTEGER readHere{}, writtenHere{};
  // The lock is not held while the target writes: it may belong to a session whose thread copies in the other
  // direction.
  const HRESULT result = guarded([&]() -> HRESULT {
    std::array<std::byte, 32 * 1024> buffer;
    while (readHere.QuadPart < size.QuadPart) {
      const auto wanted = static_cast<ULONG>(std::min<std::uint64_t>(buffer.size(), size.QuadPart - readHere.QuadPart));
      ULONG count = 0, accepted = 0;
      if (const HRESULT failed = Read(buffer.data(), wanted, &count); FAILED(failed)) return failed;
      if (count == 0) break;
      readHere.QuadPart += count;
      const HRESULT failed = target->Write(buffer.data(), count, &accepted);
      writtenHere.QuadPart += accepted;
      if (FAILED(failed)) return failed;
      if (accepted < count) return STG_E_MEDIUMFULL;
    }
    return S_OK;
  });
  if (read) *read = readHere;
  if (written) *written = writtenHere;
  return result;
}

STDMETHODIMP PropertyStream::Commit(DWORD) {
  return guarded(*mutex_, [&] { return writable_ ? content_->commit() : S_OK; });
}

// In direct mode there is nothing to revert.
STDMETHODIMP PropertyStream::Revert() { return S_OK; }

STDMETHODIMP PropertyStream::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return STG_E_INVALIDFUNCTION; }
STDMETHODIMP PropertyStream::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return STG_E_INVALIDFUNCTION; }

STDMETHODIMP PropertyStream::Stat(STATSTG* statistics, DWORD) {
  if (!statistics) return STG_E_INVALIDPOINTER;
  return guarded(*mutex_, [&] {
    *statistics = {};
    statistics->type = STGTY_STREAM;
    statistics->cbSize.QuadPart = content_->size();
    statistics->grfMode = writable_ ? STGM_READWRITE : STGM_READ;
    return S_OK;
  });
}

STDMETHODIMP PropertyStream::Clone(IStream** clone) {
  if (!clone) return STG_E_INVALIDPOINTER;
  return guarded(*mutex_, [&] {
    *clone = nullptr;
    auto copy = makeObject<PropertyStream>(mutex_, content_, writable_, position_);
    return handOut(copy, clone);
  });
}

}  // namespace fendrel::provider
