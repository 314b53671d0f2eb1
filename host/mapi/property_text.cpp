#include "property_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>

#include "error_words.h"
#include "property_names.h"
#include "text.h"

namespace fendrel::host {
namespace {

// Bytes shown of a binary value in text.
constexpr std::size_t shownBytes = 24;

std::string guidText(const GUID& guid) {
  wchar_t text[40];
  return StringFromGUID2(guid, text, 40) > 0 ? toUtf8(text) : "?";
}

void setBinary(PropertyText& text, const SBinary& binary) {
  const std::span<const std::uint8_t> bytes(binary.lpb, binary.lpb ? binary.cb : 0);
  if (text.tag == PR_ATTACH_DATA_BIN) {  // the file itself: see "fendrel save"
    text.json = {{"bytes", bytes.size()}};
    text.value = fmt::format("({})", counted(bytes.size(), "byte"));
    return;
  }
  text.json = hexadecimal(bytes);
  text.value = fmt::format("{}{} ({})", hexadecimal(bytes.first(std::min(bytes.size(), shownBytes))),
                           bytes.size() > shownBytes ? "..." : "", counted(bytes.size(), "byte"));
}

void setText(PropertyText& text, const std::wstring& wide) {
  text.json = toUtf8(wide);
  text.value = printable(wide);
}

// The length of a value that can only be read as a stream.
void setStreamed(PropertyText& text, IMAPIProp& object, ULONG tag) {
  ComPtr<IUnknown> opened;
  ComPtr<IStream> stream;
  STATSTG state{};
  if (FAILED(object.OpenProperty(tag, &IID_IStream, STGM_READ, 0, &opened)) ||
      FAILED(opened.CopyTo(IID_IStream, reinterpret_cast<void**>(stream.GetAddressOf()))) ||
      FAILED(stream->Stat(&state, STATFLAG_NONAME)))
    return;
  text.tag = tag;
  text.value = fmt::format("({})", counted(state.cbSize.QuadPart, "byte"));
  text.json = {{"bytes", state.cbSize.QuadPart}};
}

}  // namespace

PropertyText propertyText(const SPropValue& value) {
  PropertyText text{value.ulPropTag, {}, nullptr};
  switch (PROP_TYPE(value.ulPropTag)) {
    case PT_SHORT: text.json = value.Value.i; break;
    case PT_LONG: text.json = value.Value.l; break;
    case PT_LONGLONG: text.json = value.Value.li.QuadPart; break;
    case PT_FLOAT: text.json = value.Value.flt; break;
    case PT_APPTIME:
    case PT_DOUBLE: text.json = value.Value.dbl; break;
    case PT_CURRENCY: text.json = static_cast<double>(value.Value.cur.int64) / 10000; break;
    case PT_BOOLEAN: text.json = value.Value.b != 0; break;
    case PT_SYSTIME: text.json = utcTime(value.Value.ft); break;
    case PT_CLSID: text.json = value.Value.lpguid ? guidText(*value.Value.lpguid) : ""; break;
    case PT_UNICODE: setText(text, value.Value.lpszW ? value.Value.lpszW : L""); return text;
    case PT_STRING8: setText(text, fromAnsi(value.Value.lpszA ? value.Value.lpszA : "")); return text;
    case PT_BINARY: setBinary(text, value.Value.bin); return text;
    case PT_ERROR:
      text.json = {{"error", errorName(value.Value.err)}};
      text.value = errorName(value.Value.err);
      return text;
    case PT_MV_LONG:
      text.json = std::vector<LONG>(value.Value.MVl.lpl, value.Value.MVl.lpl + value.Value.MVl.cValues);
      break;
    case PT_MV_UNICODE:
      text.json = nlohmann::ordered_json::array();
      for (ULONG index = 0; index < value.Value.MVszW.cValues; ++index)
        text.json.push_back(toUtf8(value.Value.MVszW.lppszW[index]));
      break;
    case PT_OBJECT: text.value = "(an object)"; return text;
    case PT_NULL: text.value = "(null)"; return text;
    default: text.value = "(not shown)"; return text;
  }
  text.value = text.json.is_string() ? text.json.get<std::string>() : printable(text.json.dump());
  return text;
}

std::vector<PropertyText> propertiesOf(IMAPIProp& object, const std::string& subject) {
  ULONG count = 0;
  MapiBuffer<SPropValue> values;
  check(object.GetProps(nullptr, MAPI_UNICODE, &count, receive(values)), ExitCode::failed, subject + " cannot be read");
  std::vector<PropertyText> properties;
  for (const SPropValue& value : std::span(values.get(), values ? count : 0)) {
    properties.push_back(propertyText(value));
    // Too long for a value: MAPI_E_NOT_ENOUGH_MEMORY means "open it as a stream".
    if (PROP_TYPE(value.ulPropTag) == PT_ERROR && value.Value.err == MAPI_E_NOT_ENOUGH_MEMORY)
      for (const ULONG type : {PT_BINARY, PT_UNICODE})
        if (PROP_TYPE(properties.back().tag) == PT_ERROR)
          setStreamed(properties.back(), object, CHANGE_PROP_TYPE(value.ulPropTag, type));
  }
  std::ranges::sort(properties, {}, &PropertyText::tag);
  return properties;
}

}  // namespace fendrel::host
