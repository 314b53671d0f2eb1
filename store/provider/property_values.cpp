#include "property_values.h"

#include <cstring>
#include <new>

namespace fendrel::provider {
namespace {

using store::Bytes;
using store::FileTime;
using store::Guid;

static_assert(sizeof(Guid) == sizeof(GUID));

Bytes copyBytes(const void* bytes, std::size_t count) {
  const auto* begin = static_cast<const std::byte*>(bytes);
  return Bytes(begin, begin + count);
}

HRESULT takeManyTexts(const SPropValue& value, Property& property) {
  std::vector<std::u16string> texts;
  const bool wide = PROP_TYPE(value.ulPropTag) == PT_MV_UNICODE;
  const ULONG count = wide ? value.Value.MVszW.cValues : value.Value.MVszA.cValues;
  const void* array = wide ? static_cast<const void*>(value.Value.MVszW.lppszW) : value.Value.MVszA.lppszA;
  if (count && !array) return MAPI_E_INVALID_PARAMETER;
  texts.reserve(count);
  for (ULONG i = 0; i < count; ++i) {
    const void* text = wide ? static_cast<const void*>(value.Value.MVszW.lppszW[i]) : value.Value.MVszA.lppszA[i];
    if (!text) return MAPI_E_INVALID_PARAMETER;
    texts.push_back(textArgument(text, wide ? MAPI_UNICODE : 0));
  }
  property.value = std::move(texts);
  return S_OK;
}

// All list structures have the same layout in the union: a count and a pointer.
static_assert(offsetof(SLongArray, lpl) == offsetof(SShortArray, lpi) &&
              offsetof(SLongArray, lpl) == offsetof(SGuidArray, lpguid) &&
              offsetof(SLongArray, lpl) == offsetof(SDateTimeArray, lpft));

template <class Fixed>
HRESULT takeManyFixed(const SPropValue& value, Property& property) {
  const auto& array = value.Value.MVl;
  if (array.cValues && !array.lpl) return MAPI_E_INVALID_PARAMETER;
  std::vector<Fixed> values(array.cValues);
  if (!values.empty()) std::memcpy(values.data(), array.lpl, values.size() * sizeof(Fixed));
  property.value = std::move(values);
  return S_OK;
}

HRESULT takeManyBinaries(const SBinaryArray& array, Property& property) {
  if (array.cValues && !array.lpbin) return MAPI_E_INVALID_PARAMETER;
  std::vector<Bytes> values;
  values.reserve(array.cValues);
  for (ULONG i = 0; i < array.cValues; ++i) {
    if (array.lpbin[i].cb && !array.lpbin[i].lpb) return MAPI_E_INVALID_PARAMETER;
    values.push_back(copyBytes(array.lpbin[i].lpb, array.lpbin[i].cb));
  }
  property.value = std::move(values);
  return S_OK;
}

// Room for a text in a form: exact for long ones, the maximum for short ones.
std::size_t roomForText(std::u16string_view text, bool wide) {
  if (wide) return (text.size() + 1) * sizeof(wchar_t);
  constexpr std::size_t shortText = 1024, bytesAtMost = 4;
  return (text.size() < shortText ? text.size() * bytesAtMost : toAnsi(text).size()) + 1;
}

constexpr std::size_t aligned(std::size_t size) { return (size + 7) & ~std::size_t{7}; }

// Allocates one block's bytes from front to back.
class Arena {
 public:
  explicit Arena(void* begin) : next_(static_cast<std::byte*>(begin)) {}

  template <class T>
  T* take(std::size_t bytes) {
    auto* place = reinterpret_cast<T*>(next_);
    next_ += aligned(bytes);
    return place;
  }

  BYTE* copy(const void* bytes, std::size_t count) {
    auto* place = take<BYTE>(count);
    if (count) std::memcpy(place, bytes, count);
    return place;
  }

  LPSTR ansi(std::u16string_view text) {
    const std::string converted = toAnsi(text);
    return reinterpret_cast<LPSTR>(copy(converted.c_str(), converted.size() + 1));
  }

  LPWSTR wide(std::u16string_view text) {
    auto* place = take<wchar_t>((text.size() + 1) * sizeof(wchar_t));
    if (!text.empty()) std::memcpy(place, text.data(), text.size() * sizeof(wchar_t));
    place[text.size()] = L'\0';
    return place;
  }

 private:
  std::byte* next_;
};

// The size of a value's data besides its SPropValue.
std::size_t roomFor(const Answer& answer) {
  if (!answer.value) return 0;
  const bool wide = (PROP_TYPE(answer.tag) & ~MV_FLAG) == PT_UNICODE;
  if (const auto* text = std::get_if<std::u16string>(answer.value)) return aligned(roomForText(*text, wide));
  if (const auto* bytes = std::get_if<Bytes>(answer.value)) return aligned(bytes->size());
  if (std::holds_alternative<Guid>(*answer.value)) return aligned(sizeof(GUID));
  std::size_t room = 0;
  if (const auto* texts = std::get_if<std::vector<std::u16string>>(answer.value)) {
    room = aligned(texts->size() * sizeof(void*));
    for (const auto& text : *texts) room += aligned(roomForText(text, wide));
  } else if (const auto* binaries = std::get_if<std::vector<Bytes>>(answer.value)) {
    room = aligned(binaries->size() * sizeof(SBinary));
    for (const auto& bytes : *binaries) room += aligned(bytes.size());
  } else if (PROP_TYPE(answer.tag) & MV_FLAG) {
    room = aligned(static_cast<std::size_t>(store::valueSize(*answer.value)));
  }
  return room;
}

// Writes a stored value into the union of an SPropValue, and its data into the arena.
struct ValueWriter {
  __UPV& out;
  ULONG type;
  Arena& arena;

  void operator()(std::monostate) const {}
  void operator()(store::UnloadedValue) const {}
  void operator()(std::int16_t value) const { out.i = value; }
  void operator()(std::int32_t value) const { out.l = value; }
  void operator()(std::int64_t value) const { out.li.QuadPart = value; }
  void operator()(float value) const { out.flt = value; }
  void operator()(double value) const { out.dbl = value; }
  void operator()(bool value) const { out.b = value; }
  void operator()(FileTime value) const {
    out.ft.dwLowDateTime = static_cast<DWORD>(value.ticks);
    out.ft.dwHighDateTime = static_cast<DWORD>(value.ticks >> 32);
  }
  void operator()(const Guid& value) const {
    out.lpguid = reinterpret_cast<LPGUID>(arena.copy(value.bytes, sizeof value.bytes));
  }
  void operator()(const std::u16string& value) const {
    if (type == PT_UNICODE)
      out.lpszW = arena.wide(value);
    else
      out.lpszA = arena.ansi(value);
  }
  void operator()(const Bytes& value) const {
    out.bin.cb = static_cast<ULONG>(value.size());
    out.bin.lpb = arena.copy(value.data(), value.size());
  }
  // All list structures have the same layout in the union.
  template <class Fixed>
  void operator()(const std::vector<Fixed>& values) const {
    out.MVl.cValues = static_cast<ULONG>(values.size());
    out.MVl.lpl = reinterpret_cast<LONG*>(arena.copy(values.data(), values.size() * sizeof(Fixed)));
  }
  void operator()(const std::vector<std::u16string>& values) const {
    out.MVszW.cValues = static_cast<ULONG>(values.size());
    out.MVszW.lppszW = arena.take<LPWSTR>(values.size() * sizeof(LPWSTR));
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (type == PT_MV_UNICODE)
        out.MVszW.lppszW[i] = arena.wide(values[i]);
      else
        out.MVszA.lppszA[i] = arena.ansi(values[i]);
    }
  }
  void operator()(const std::vector<Bytes>& values) const {
    out.MVbin.cValues = static_cast<ULONG>(values.size());
    out.MVbin.lpbin = arena.take<SBinary>(values.size() * sizeof(SBinary));
    for (std::size_t i = 0; i < values.size(); ++i) {
      out.MVbin.lpbin[i].cb = static_cast<ULONG>(values[i].size());
      out.MVbin.lpbin[i].lpb = arena.copy(values[i].data(), values[i].size());
    }
  }
};

}  // namespace

PropertyTag storedTag(ULONG tag) {
  if (PROP_TYPE(tag) == PT_STRING8) return CHANGE_PROP_TYPE(tag, PT_UNICODE);
  if (PROP_TYPE(tag) == PT_MV_STRING8) return CHANGE_PROP_TYPE(tag, PT_MV_UNICODE);
  return tag;
}

ULONG shownTag(PropertyTag tag, TextForm form) {
  if (form == TextForm::Wide) return tag;
  if (PROP_TYPE(tag) == PT_UNICODE) return CHANGE_PROP_TYPE(tag, PT_STRING8);
  if (PROP_TYPE(tag) == PT_MV_UNICODE) return CHANGE_PROP_TYPE(tag, PT_MV_STRING8);
  return tag;
}

HRESULT takeValue(const SPropValue& value, Property& property) {
  property.tag = storedTag(value.ulPropTag);
  const __UPV& in = value.Value;
  switch (PROP_TYPE(value.ulPropTag)) {
    case PT_I2: property.value = static_cast<std::int16_t>(in.i); return S_OK;
    case PT_LONG: property.value = static_cast<std::int32_t>(in.l); return S_OK;
    case PT_R4: property.value = in.flt; return S_OK;
    case PT_DOUBLE:
    case PT_APPTIME: property.value = in.dbl; return S_OK;
    case PT_CURRENCY:
    case PT_I8: property.value = static_cast<std::int64_t>(in.li.QuadPart); return S_OK;
    case PT_BOOLEAN: property.value = in.b != 0; return S_OK;
    case PT_SYSTIME:
      property.value = FileTime{static_cast<std::uint64_t>(in.ft.dwHighDateTime) << 32 | in.ft.dwLowDateTime};
      return S_OK;
    case PT_CLSID: {
      if (!in.lpguid) return MAPI_E_INVALID_PARAMETER;
      Guid guid;
      std::memcpy(guid.bytes, in.lpguid, sizeof guid.bytes);
      property.value = guid;
      return S_OK;
    }
    case PT_STRING8:
      if (!in.lpszA) return MAPI_E_INVALID_PARAMETER;
      property.value = textArgument(in.lpszA, 0);
      return S_OK;
    case PT_UNICODE:
      if (!in.lpszW) return MAPI_E_INVALID_PARAMETER;
      property.value = textArgument(in.lpszW, MAPI_UNICODE);
      return S_OK;
    case PT_BINARY:
      if (in.bin.cb && !in.bin.lpb) return MAPI_E_INVALID_PARAMETER;
      property.value = copyBytes(in.bin.lpb, in.bin.cb);
      return S_OK;
    case PT_MV_I2: return takeManyFixed<std::int16_t>(value, property);
    case PT_MV_LONG: return takeManyFixed<std::int32_t>(value, property);
    case PT_MV_R4: return takeManyFixed<float>(value, property);
    case PT_MV_DOUBLE:
    case PT_MV_APPTIME: return takeManyFixed<double>(value, property);
    case PT_MV_CURRENCY:
    case PT_MV_I8: return takeManyFixed<std::int64_t>(value, property);
    case PT_MV_SYSTIME: return takeManyFixed<FileTime>(value, property);
    case PT_MV_CLSID: return takeManyFixed<Guid>(value, property);
    case PT_MV_STRING8:
    case PT_MV_UNICODE: return takeManyTexts(value, property);
    case PT_MV_BINARY: return takeManyBinaries(in.MVbin, property);
    case PT_OBJECT: return MAPI_E_TYPE_NO_SUPPORT;
    default: return MAPI_E_INVALID_TYPE;
  }
}

Answer answerFor(ULONG asked, const Property& found, TextForm form) {
  if (asked == PR_NULL) return {PR_NULL, S_OK, nullptr};
  const Answer missing{PROP_TAG(PT_ERROR, PROP_ID(asked)), MAPI_E_NOT_FOUND, nullptr};
  if (found.tag == 0 || PROP_ID(found.tag) != PROP_ID(asked)) return missing;
  const ULONG tag = PROP_TYPE(asked) == PT_UNSPECIFIED ? shownTag(found.tag, form) : asked;
  if (storedTag(tag) != found.tag) return missing;
  if (std::holds_alternative<store::UnloadedValue>(found.value)) {
    return {PROP_TAG(PT_ERROR, PROP_ID(asked)), MAPI_E_NOT_ENOUGH_MEMORY, nullptr};
  }
  return {tag, S_OK, &found.value};
}

MapiBuffer<SPropValue> makeValues(std::span<const Answer> answers) {
  const std::size_t heads = aligned(answers.size() * sizeof(SPropValue));
  std::size_t room = heads;
  for (const Answer& answer : answers) room += roomFor(answer);
  auto values = allocateMapi<SPropValue>(room);
  Arena arena(reinterpret_cast<std::byte*>(values.get()) + heads);
  for (std::size_t i = 0; i < answers.size(); ++i) {
    SPropValue& value = values.get()[i];
    value.ulPropTag = answers[i].tag;
    if (answers[i].value)
      std::visit(ValueWriter{value.Value, PROP_TYPE(answers[i].tag), arena}, *answers[i].value);
    else
      value.Value.err = answers[i].error;
  }
  return values;
}

MapiBuffer<SPropTagArray> makeTagArray(std::span<const ULONG> tags) {
  auto array = allocateMapi<SPropTagArray>(CbNewSPropTagArray(tags.size()));
  array->cValues = static_cast<ULONG>(tags.size());
  if (!tags.empty()) std::memcpy(array->aulPropTag, tags.data(), tags.size_bytes());
  return array;
}

}  // namespace fendrel::provider
