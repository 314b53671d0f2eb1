// Restrictions, built from the inside out: each step gives a structure that lives as long as the builder.
#pragma once

#include <deque>

#include "mapi_client.h"

namespace client {

class Conditions {
 public:
  SRestriction content(ULONG tag, std::wstring_view text, ULONG fuzzyLevel) {
    SRestriction made{};
    made.rt = RES_CONTENT;
    made.res.resContent = {fuzzyLevel, tag, textValue(tag, text)};
    return made;
  }
  SRestriction text(ULONG relop, ULONG tag, std::wstring_view wanted) {
    return property(relop, tag, textValue(tag, wanted));
  }
  SRestriction number(ULONG relop, ULONG tag, std::int64_t wanted) {
    SPropValue* const value = newValue(tag);
    if (PROP_TYPE(tag) == PT_SYSTIME || PROP_TYPE(tag) == PT_I8)
      value->Value.li.QuadPart = wanted;
    else if (PROP_TYPE(tag) == PT_BOOLEAN)
      value->Value.b = wanted != 0;
    else
      value->Value.l = static_cast<LONG>(wanted);
    return property(relop, tag, value);
  }
  SRestriction binary(ULONG relop, ULONG tag, const Bytes& wanted) {
    SPropValue* const value = newValue(tag);
    value->Value.bin = {sizeOf(wanted), reinterpret_cast<BYTE*>(bytes_.emplace_back(wanted).data())};
    return property(relop, tag, value);
  }
  SRestriction exists(ULONG tag) {
    SRestriction made{};
    made.rt = RES_EXIST;
    made.res.resExist.ulPropTag = tag;
    return made;
  }
  SRestriction bits(ULONG relation, ULONG tag, ULONG mask) {
    SRestriction made{};
    made.rt = RES_BITMASK;
    made.res.resBitMask = {relation, tag, mask};
    return made;
  }
  SRestriction size(ULONG relop, ULONG tag, ULONG bytes) {
    SRestriction made{};
    made.rt = RES_SIZE;
    made.res.resSize = {relop, tag, bytes};
    return made;
  }
  SRestriction compare(ULONG relop, ULONG tag1, ULONG tag2) {
    SRestriction made{};
    made.rt = RES_COMPAREPROPS;
    made.res.resCompareProps = {relop, tag1, tag2};
    return made;
  }
  SRestriction all(std::vector<SRestriction> parts) { return joined(RES_AND, std::move(parts)); }
  SRestriction any(std::vector<SRestriction> parts) { return joined(RES_OR, std::move(parts)); }
  SRestriction negated(const SRestriction& part) {
    SRestriction made{};
    made.rt = RES_NOT;
    made.res.resNot = {0, lists_.emplace_back(std::vector{part}).data()};
    return made;
  }
  SRestriction below(ULONG subObject, const SRestriction& part) {
    SRestriction made{};
    made.rt = RES_SUBRESTRICTION;
    made.res.resSub = {subObject, lists_.emplace_back(std::vector{part}).data()};
    return made;
  }

 private:
  SPropValue* newValue(ULONG tag) {
    SPropValue& value = values_.emplace_back();
    value = {};
    value.ulPropTag = tag;
    return &value;
  }
  SPropValue* textValue(ULONG tag, std::wstring_view text) {
    SPropValue* const value = newValue(tag);
    if (PROP_TYPE(tag) == PT_UNICODE) {
      value->Value.lpszW = texts_.emplace_back(text).data();
    } else {
      Bytes& ansi = bytes_.emplace_back(text.size() * 4 + 1, '\0');
      WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), ansi.data(),
                          static_cast<int>(ansi.size()), nullptr, nullptr);
      value->Value.lpszA = ansi.data();
    }
    return value;
  }
  SRestriction property(ULONG relop, ULONG tag, SPropValue* value) {
    SRestriction made{};
    made.rt = RES_PROPERTY;
    made.res.resProperty = {relop, tag, value};
    return made;
  }
  SRestriction joined(ULONG kind, std::vector<SRestriction> parts) {
    SRestriction made{};
    made.rt = kind;
    auto& kept = lists_.emplace_back(std::move(parts));
    made.res.resAnd = {static_cast<ULONG>(kept.size()), kept.data()};
    return made;
  }

  std::deque<SPropValue> values_;
  std::deque<std::wstring> texts_;
  std::deque<Bytes> bytes_;
  std::deque<std::vector<SRestriction>> lists_;
};

}  // namespace client
