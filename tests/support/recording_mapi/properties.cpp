#include "properties.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "buffers.h"
#include "recorder.h"

namespace recording {
namespace {

bool isString(ULONG tag) { return PROP_TYPE(tag) == PT_STRING8 || PROP_TYPE(tag) == PT_UNICODE; }

long long timeNumber(FILETIME time) {
  return static_cast<long long>(static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime);
}

}  // namespace

Property textProperty(ULONG tag, std::wstring text) { return {.tag = tag, .text = std::move(text)}; }
Property numberProperty(ULONG tag, long long number) { return {.tag = tag, .number = number}; }
Property binaryProperty(ULONG tag, Bytes bytes) { return {.tag = tag, .bytes = std::move(bytes)}; }

Property decode(const SPropValue& value) {
  const ULONG tag = value.ulPropTag;
  switch (PROP_TYPE(tag)) {
    case PT_I2: return numberProperty(tag, value.Value.i);
    case PT_LONG: return numberProperty(tag, value.Value.l);
    case PT_BOOLEAN: return numberProperty(tag, value.Value.b != 0);
    case PT_I8: return numberProperty(tag, value.Value.li.QuadPart);
    case PT_ERROR: return numberProperty(tag, static_cast<ULONG>(value.Value.err));
    case PT_SYSTIME: return numberProperty(tag, timeNumber(value.Value.ft));
    case PT_STRING8: return textProperty(tag, value.Value.lpszA ? wide(value.Value.lpszA) : std::wstring());
    case PT_UNICODE: return textProperty(tag, value.Value.lpszW ? value.Value.lpszW : L"");
    case PT_BINARY: return binaryProperty(tag, Bytes(value.Value.bin.lpb, value.Value.bin.lpb + value.Value.bin.cb));
    default:
      recorder().fault(
          fmt::format("property {:#010x} has a type that the double does not know", static_cast<unsigned long>(tag)));
      return numberProperty(tag, 0);
  }
}

std::string describe(const Property& property) {
  if (isString(property.tag)) return quoted(property.text.c_str());
  if (PROP_TYPE(property.tag) == PT_BINARY) return hexBytes(property.bytes);
  if (PROP_TYPE(property.tag) == PT_SYSTIME || PROP_TYPE(property.tag) == PT_ERROR)
    return hex(static_cast<unsigned long long>(property.number));
  return std::to_string(property.number);
}

RecordedProperty viewOf(const Property& property) {
  return {.tag = property.tag,
          .text = isString(property.tag) ? property.text.c_str() : nullptr,
          .number = property.number,
          .bytes = property.bytes.data(),
          .size = static_cast<uint32_t>(property.bytes.size())};
}

void PropertyBag::set(Property property) {
  const auto same = [&](const Property& other) { return PROP_ID(other.tag) == PROP_ID(property.tag); };
  if (const auto known = std::ranges::find_if(properties_, same); known != properties_.end())
    *known = std::move(property);
  else
    properties_.push_back(std::move(property));
}

void PropertyBag::remove(ULONG tag) {
  std::erase_if(properties_, [&](const Property& other) { return PROP_ID(other.tag) == PROP_ID(tag); });
}

const Property* PropertyBag::find(ULONG tag) const {
  for (const Property& property : properties_) {
    if (PROP_ID(property.tag) != PROP_ID(tag)) continue;
    const bool typeFits = PROP_TYPE(tag) == PT_UNSPECIFIED || PROP_TYPE(tag) == PROP_TYPE(property.tag) ||
                          (isString(tag) && isString(property.tag));
    if (typeFits) return &property;
  }
  return nullptr;
}

bool encode(const PropertyBag& bag, ULONG tag, ULONG stringType, void* block, SPropValue& value) {
  value = {};
  const Property* const property = bag.find(tag);
  if (!property) {
    value.ulPropTag = PROP_TAG(PT_ERROR, PROP_ID(tag));
    value.Value.err = MAPI_E_NOT_FOUND;
    return false;
  }
  value.ulPropTag = property->tag;
  if (isString(property->tag)) {
    const ULONG type = PROP_TYPE(tag) == PT_UNSPECIFIED ? stringType : PROP_TYPE(tag);
    value.ulPropTag = PROP_TAG(type, PROP_ID(tag));
    if (type == PT_UNICODE) {
      const std::size_t size = (property->text.size() + 1) * sizeof(wchar_t);
      value.Value.lpszW = static_cast<wchar_t*>(buffers().allocateMore(size, block));
      std::memcpy(value.Value.lpszW, property->text.c_str(), size);
    } else {
      const std::string text = ansi(property->text);
      value.Value.lpszA = static_cast<char*>(buffers().allocateMore(text.size() + 1, block));
      std::memcpy(value.Value.lpszA, text.c_str(), text.size() + 1);
    }
    return true;
  }
  switch (PROP_TYPE(property->tag)) {
    case PT_BINARY:
      value.Value.bin.cb = static_cast<ULONG>(property->bytes.size());
      value.Value.bin.lpb = static_cast<BYTE*>(buffers().allocateMore(property->bytes.size(), block));
      std::ranges::copy(property->bytes, value.Value.bin.lpb);
      break;
    case PT_BOOLEAN: value.Value.b = static_cast<unsigned short>(property->number); break;
    case PT_I2: value.Value.i = static_cast<short>(property->number); break;
    case PT_I8: value.Value.li.QuadPart = property->number; break;
    case PT_SYSTIME:
      value.Value.ft = {static_cast<DWORD>(property->number), static_cast<DWORD>(property->number >> 32)};
      break;
    default: value.Value.l = static_cast<LONG>(property->number); break;
  }
  return true;
}

HRESULT getProps(const PropertyBag& bag, const SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values) {
  std::vector<ULONG> wanted;
  if (tags) {
    wanted.assign(tags->aulPropTag, tags->aulPropTag + tags->cValues);
  } else {
    for (const Property& property : bag.all())
      wanted.push_back(isString(property.tag) ? CHANGE_PROP_TYPE(property.tag, PT_UNSPECIFIED) : property.tag);
  }
  auto* const block = static_cast<SPropValue*>(buffers().allocate(wanted.size() * sizeof(SPropValue), "GetProps"));
  const ULONG stringType = (flags & MAPI_UNICODE) != 0 ? PT_UNICODE : PT_STRING8;
  bool all = true;
  for (std::size_t index = 0; index < wanted.size(); ++index)
    all = encode(bag, wanted[index], stringType, block, block[index]) && all;
  *count = static_cast<ULONG>(wanted.size());
  *values = block;
  return all ? S_OK : MAPI_W_ERRORS_RETURNED;
}

}  // namespace recording
