#include "object_properties.h"

#include <fmt/format.h>

#include <algorithm>

#include "console.h"
#include "property_names.h"
#include "text.h"

namespace fendrel::host {
namespace {

constexpr ULONG chunkSize = 256 * 1024;

}  // namespace

ObjectProperties::ObjectProperties(IMAPIProp& object, const std::string& subject) : owner_(object), name_(subject) {
  ULONG count = 0;
  check(object.GetProps(nullptr, MAPI_UNICODE, &count, receive(block_)), ExitCode::failed, subject + " cannot be read");
  for (const SPropValue& value : std::span(block_.get(), block_ ? count : 0)) {
    if (PROP_TYPE(value.ulPropTag) != PT_ERROR) {
      present_.push_back(&value);
    } else if (value.Value.err == MAPI_E_NOT_ENOUGH_MEMORY) {  // means "open it as a stream"
      for (const ULONG type : {PT_BINARY, PT_UNICODE}) {
        ComPtr<IUnknown> opened;
        const ULONG tag = CHANGE_PROP_TYPE(value.ulPropTag, type);
        if (FAILED(object.OpenProperty(tag, &IID_IStream, STGM_READ, 0, &opened))) continue;
        tooLong_.push_back(tag);
        break;
      }
    }
  }
  std::ranges::sort(present_, {}, [](const SPropValue* value) { return value->ulPropTag; });
  std::ranges::sort(tooLong_);
}

LongValue ObjectProperties::openLong(ULONG tag) const {
  const std::string subject = fmt::format("{} of {} cannot be read", propertyName(tag), name_);
  LongValue value{tag, 0, nullptr};
  ComPtr<IUnknown> opened;
  STATSTG state{};
  check(owner_.OpenProperty(tag, &IID_IStream, STGM_READ, 0, &opened), ExitCode::failed, subject);
  check(opened.CopyTo(IID_IStream, reinterpret_cast<void**>(value.stream.GetAddressOf())), ExitCode::failed, subject);
  check(value.stream->Stat(&state, STATFLAG_NONAME), ExitCode::failed, subject);
  value.size = state.cbSize.QuadPart;
  return value;
}

const SPropValue* ObjectProperties::find(ULONG tag) const {
  const auto found = std::ranges::find(present_, tag, [](const SPropValue* value) { return value->ulPropTag; });
  return found == present_.end() ? nullptr : *found;
}

std::wstring ObjectProperties::text(ULONG tag) const {
  if (const SPropValue* value = find(CHANGE_PROP_TYPE(tag, PT_UNICODE)))
    return value->Value.lpszW ? value->Value.lpszW : L"";
  if (const SPropValue* value = find(CHANGE_PROP_TYPE(tag, PT_STRING8)))
    return value->Value.lpszA ? fromAnsi(value->Value.lpszA) : L"";
  return {};
}

std::optional<LONG> ObjectProperties::number(ULONG tag) const {
  const SPropValue* value = find(tag);
  return value ? std::optional(value->Value.l) : std::nullopt;
}

std::optional<FILETIME> ObjectProperties::time(ULONG tag) const {
  const SPropValue* value = find(tag);
  if (!value || (value->Value.ft.dwHighDateTime == 0 && value->Value.ft.dwLowDateTime == 0)) return std::nullopt;
  return value->Value.ft;
}

bool ObjectProperties::isLong(ULONG tag) const { return std::ranges::find(tooLong_, tag) != tooLong_.end(); }

std::uint64_t copyStream(IStream& from, const std::string& subject, const ByteSink& to) {
  std::vector<std::uint8_t> chunk(chunkSize);
  std::uint64_t copied = 0;
  for (;;) {
    if (cancelRequested()) throw Failure(ExitCode::cancelled, "Cancelled; no partial file was left.");
    ULONG read = 0;
    check(from.Read(chunk.data(), chunkSize, &read), ExitCode::failed, subject + " cannot be read");
    if (read == 0) return copied;
    to(std::span(chunk).first(read));
    copied += read;
  }
}

}  // namespace fendrel::host
