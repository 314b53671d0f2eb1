// WrapCompressedRTFStream: the text of a stream with compressed RTF.
#include <algorithm>
#include <cstring>

#include "com_object.h"
#include "compressed_rtf.h"

namespace {

using namespace fendrel::utility;

// Write the uncompressed form; a published flag of stores.
constexpr ULONG uncompressed = STORE_UNCOMPRESSED_RTF;

HRESULT readAll(IStream& stream, RtfBytes& bytes) {
  constexpr ULONG piece = 64 * 1024;
  for (;;) {
    const std::size_t begin = bytes.size();
    bytes.resize(begin + piece);
    ULONG count = 0;
    const HRESULT result = stream.Read(bytes.data() + begin, piece, &count);
    bytes.resize(begin + (SUCCEEDED(result) ? count : 0));
    if (FAILED(result) || count == 0) return FAILED(result) ? result : S_OK;
  }
}

// Reads the text. Writes it to the underlying stream at Commit, or at the latest in the destructor.
class RtfStream final : public ComObject<IStream> {
 public:
  RtfStream(IStream* below, ULONG flags, RtfBytes text)
      : below_(below), flags_(flags), text_(std::move(text)), isChanged_((flags & MAPI_MODIFY) != 0) {}

  STDMETHODIMP Read(void* buffer, ULONG size, ULONG* read) override {
    if (read) *read = 0;
    if (!buffer) return STG_E_INVALIDPOINTER;
    const std::size_t count = position_ < text_.size() ? std::min<std::size_t>(size, text_.size() - position_) : 0;
    if (count) std::memcpy(buffer, text_.data() + position_, count);
    position_ += count;
    if (read) *read = static_cast<ULONG>(count);
    return S_OK;
  }

  STDMETHODIMP Write(const void* buffer, ULONG size, ULONG* written) override {
    if (written) *written = 0;
    if (!buffer) return STG_E_INVALIDPOINTER;
    if (!(flags_ & MAPI_MODIFY)) return STG_E_ACCESSDENIED;
    return guarded([&] {
      if (position_ + size > text_.size()) text_.resize(position_ + size);
      if (size) std::memcpy(text_.data() + position_, buffer, size);
      position_ += size;
      isChanged_ = true;
      if (written) *written = size;
      return S_OK;
    });
  }

  STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
    LONGLONG from = 0;
    switch (origin) {
      case STREAM_SEEK_SET: break;
      case STREAM_SEEK_CUR: from = static_cast<LONGLONG>(position_); break;
      case STREAM_SEEK_END: from = static_cast<LONGLONG>(text_.size()); break;
      default: return STG_E_INVALIDFUNCTION;
    }
    const LONGLONG to = from + move.QuadPart;
    if (to < 0 || to > longest) return STG_E_INVALIDFUNCTION;
    position_ = static_cast<std::size_t>(to);
    if (position) position->QuadPart = static_cast<ULONGLONG>(to);
    return S_OK;
  }

  STDMETHODIMP SetSize(ULARGE_INTEGER size) override {
    if (!(flags_ & MAPI_MODIFY)) return STG_E_ACCESSDENIED;
    if (size.QuadPart > static_cast<ULONGLONG>(longest)) return MAPI_E_NOT_ENOUGH_MEMORY;
    return guarded([&] {
      text_.resize(static_cast<std::size_t>(size.QuadPart));
      isChanged_ = true;
      return S_OK;
    });
  }

  STDMETHODIMP CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read, ULARGE_INTEGER* written) override {
    if (!target) return STG_E_INVALIDPOINTER;
    const std::size_t left = position_ < text_.size() ? text_.size() - position_ : 0;
    const auto count = static_cast<ULONG>(std::min<ULONGLONG>(left, size.QuadPart));
    ULONG accepted = 0;
    const HRESULT result = count ? target->Write(text_.data() + position_, count, &accepted) : S_OK;
    position_ += accepted;
    if (read) read->QuadPart = accepted;
    if (written) written->QuadPart = accepted;
    return SUCCEEDED(result) && accepted < count ? STG_E_MEDIUMFULL : result;
  }

  STDMETHODIMP Commit(DWORD how) override {
    if (!isChanged_) return S_OK;
    return guarded([&]() -> HRESULT {
      const RtfBytes stored = flags_ & uncompressed ? wrapRtf(text_) : compressRtf(text_);
      ULONG written = 0;
      HRESULT result = below_->Seek({}, STREAM_SEEK_SET, nullptr);
      if (SUCCEEDED(result)) result = below_->Write(stored.data(), static_cast<ULONG>(stored.size()), &written);
      if (SUCCEEDED(result) && written != stored.size()) result = STG_E_MEDIUMFULL;
      ULARGE_INTEGER size;
      size.QuadPart = stored.size();
      if (SUCCEEDED(result)) result = below_->SetSize(size);
      if (SUCCEEDED(result)) result = below_->Commit(how);
      if (SUCCEEDED(result)) isChanged_ = false;
      return result;
    });
  }

  STDMETHODIMP Revert() override { return S_OK; }
  STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
  STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
  STDMETHODIMP Clone(IStream**) override { return STG_E_INVALIDFUNCTION; }

  STDMETHODIMP Stat(STATSTG* statistics, DWORD) override {
    if (!statistics) return STG_E_INVALIDPOINTER;
    *statistics = {};
    statistics->type = STGTY_STREAM;
    statistics->cbSize.QuadPart = text_.size();
    statistics->grfMode = flags_ & MAPI_MODIFY ? STGM_READWRITE : STGM_READ;
    return S_OK;
  }

 private:
  static constexpr LONGLONG longest = 1 << 30;

  // Released without Commit, the text is still written.
  ~RtfStream() override { Commit(STGC_DEFAULT); }

  ComPtr<IStream> below_;
  ULONG flags_;
  RtfBytes text_;
  std::size_t position_ = 0;
  bool isChanged_;
};

}  // namespace

extern "C" {

HRESULT WINAPI WrapCompressedRTFStream(LPSTREAM compressed, ULONG flags, LPSTREAM* text) {
  if (!compressed || !text) return MAPI_E_INVALID_PARAMETER;
  *text = nullptr;
  if (flags & ~(MAPI_MODIFY | uncompressed)) return MAPI_E_UNKNOWN_FLAGS;
  return guarded([&]() -> HRESULT {
    RtfBytes read;
    if (!(flags & MAPI_MODIFY)) {
      RtfBytes stored;
      if (const HRESULT result = readAll(*compressed, stored); FAILED(result)) return result;
      // A body that was never written has no header.
      auto expanded = stored.empty() ? std::optional<RtfBytes>(std::in_place) : uncompressRtf(stored);
      if (!expanded) return MAPI_E_CORRUPT_DATA;
      read = std::move(*expanded);
    }
    auto made = makeObject<RtfStream>(compressed, flags, std::move(read));
    return handOut(made, text);
  });
}

}  // extern "C"
