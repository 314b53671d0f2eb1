// Arrays of property values: finding, measuring, copying, comparing. Text in 8-bit form is in the ANSI code page.
#include <algorithm>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <limits>

#include "com_object.h"
#include "mapi_memory.h"

namespace {

using namespace fendrel::utility;

// The size of a value of a fixed-size type; 0 for all others.
std::size_t fixedSize(ULONG type) {
  switch (type) {
    case PT_I2:
    case PT_BOOLEAN: return 2;
    case PT_LONG:
    case PT_R4:
    case PT_ERROR: return 4;
    case PT_DOUBLE:
    case PT_APPTIME:
    case PT_CURRENCY:
    case PT_SYSTIME:
    case PT_I8: return 8;
    case PT_CLSID: return sizeof(GUID);
    default: return 0;
  }
}

constexpr bool isList(ULONG type) { return (type & MV_FLAG) != 0; }
// A list's element type, without the flag for one row per element.
constexpr ULONG elementOf(ULONG type) { return type & ~static_cast<ULONG>(MVI_FLAG); }

std::size_t textSize(const char* text) { return text ? std::strlen(text) + 1 : 0; }
std::size_t textSize(const wchar_t* text) { return text ? (std::wcslen(text) + 1) * sizeof(wchar_t) : 0; }

// Visits all pointers of a value by reference, so that the visitor can change them. Calls `visit(pointer, bytes)` for
// an outer array before its elements.
template <class Visit>
void visitBelow(SPropValue& value, Visit&& visit) {
  const ULONG type = PROP_TYPE(value.ulPropTag);
  auto& held = value.Value;
  if (!isList(type)) {
    if (type == PT_STRING8)
      visit(held.lpszA, textSize(held.lpszA));
    else if (type == PT_UNICODE)
      visit(held.lpszW, textSize(held.lpszW));
    else if (type == PT_BINARY)
      visit(held.bin.lpb, std::size_t{held.bin.cb});
    else if (type == PT_CLSID)
      visit(held.lpguid, sizeof(GUID));
    return;
  }
  // All list structures begin with their count.
  const std::size_t count = held.MVl.cValues;
  switch (elementOf(type)) {
    case PT_STRING8:
      visit(held.MVszA.lppszA, count * sizeof(LPSTR));
      for (std::size_t i = 0; i < count; ++i) visit(held.MVszA.lppszA[i], textSize(held.MVszA.lppszA[i]));
      break;
    case PT_UNICODE:
      visit(held.MVszW.lppszW, count * sizeof(LPWSTR));
      for (std::size_t i = 0; i < count; ++i) visit(held.MVszW.lppszW[i], textSize(held.MVszW.lppszW[i]));
      break;
    case PT_BINARY:
      visit(held.MVbin.lpbin, count * sizeof(SBinary));
      for (std::size_t i = 0; i < count; ++i) visit(held.MVbin.lpbin[i].lpb, std::size_t{held.MVbin.lpbin[i].cb});
      break;
    default: visit(held.MVl.lpl, count * fixedSize(elementOf(type))); break;
  }
}

constexpr std::size_t inEights(std::size_t size) { return (size + 7) & ~std::size_t{7}; }

// Whether a value can be measured and copied: not a null identifier, not a list without values.
bool isProper(const SPropValue& value) {
  const ULONG id = PROP_ID(value.ulPropTag);
  if (id == PROP_ID_NULL || id == PROP_ID_INVALID) return false;
  return !isList(PROP_TYPE(value.ulPropTag)) || value.Value.MVl.cValues != 0;
}

SCODE measure(int count, SPropValue* values, std::size_t& size) {
  if (count < 0 || (count > 0 && !values)) return MAPI_E_INVALID_PARAMETER;
  size = inEights(static_cast<std::size_t>(count) * sizeof(SPropValue));
  for (int i = 0; i < count; ++i) {
    if (!isProper(values[i])) return MAPI_E_INVALID_PARAMETER;
    SPropValue value = values[i];
    visitBelow(value, [&](auto&, std::size_t bytes) { size += inEights(bytes); });
  }
  return size > std::numeric_limits<ULONG>::max() ? MAPI_E_INVALID_PARAMETER : S_OK;
}

// Copies a value's data to `next` and changes the value's pointers.
void copyBelow(SPropValue& value, BYTE*& next) {
  visitBelow(value, [&](auto& pointer, std::size_t bytes) {
    if (!pointer) return;
    if (bytes) std::memcpy(next, pointer, bytes);
    pointer = reinterpret_cast<std::remove_reference_t<decltype(pointer)>>(next);
    next += inEights(bytes);
  });
}

template <class Value>
int order(const Value& left, const Value& right) {
  return left < right ? -1 : right < left ? 1 : 0;
}

int orderTexts(LCID locale, const char* left, const char* right) {
  const int compared = CompareStringA(locale, 0, left, -1, right, -1);
  return compared && compared != CSTR_EQUAL ? compared - CSTR_EQUAL : order(std::strcmp(left, right), 0);
}

int orderTexts(LCID locale, const wchar_t* left, const wchar_t* right) {
  const int compared = CompareStringW(locale, 0, left, -1, right, -1);
  return compared && compared != CSTR_EQUAL ? compared - CSTR_EQUAL : order(std::wcscmp(left, right), 0);
}

int orderBytes(const BYTE* left, std::size_t leftSize, const BYTE* right, std::size_t rightSize) {
  const std::size_t common = std::min(leftSize, rightSize);
  const int compared = common ? std::memcmp(left, right, common) : 0;
  return compared ? order(compared, 0) : order(leftSize, rightSize);
}

ULONGLONG ticksOf(const FILETIME& time) {
  return static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

// Two single values of one type.
int orderSingle(const SPropValue& a, const SPropValue& b) {
  const auto &left = a.Value, &right = b.Value;
  switch (PROP_TYPE(a.ulPropTag)) {
    case PT_I2: return order(left.i, right.i);
    case PT_LONG: return order(left.l, right.l);
    case PT_R4: return order(left.flt, right.flt);
    case PT_DOUBLE:
    case PT_APPTIME: return order(left.dbl, right.dbl);
    case PT_CURRENCY:
    case PT_I8: return order(left.li.QuadPart, right.li.QuadPart);
    case PT_BOOLEAN: return order(left.b != 0, right.b != 0);
    case PT_ERROR: return order(left.err, right.err);
    case PT_SYSTIME: return order(ticksOf(left.ft), ticksOf(right.ft));
    case PT_CLSID: return order(std::memcmp(left.lpguid, right.lpguid, sizeof(GUID)), 0);
    case PT_STRING8: return orderTexts(LOCALE_USER_DEFAULT, left.lpszA, right.lpszA);
    case PT_UNICODE: return orderTexts(LOCALE_USER_DEFAULT, left.lpszW, right.lpszW);
    case PT_BINARY: return orderBytes(left.bin.lpb, left.bin.cb, right.bin.lpb, right.bin.cb);
    default: return 0;
  }
}

// One element of a list as a single value.
SPropValue elementAt(const SPropValue& list, ULONG index) {
  SPropValue value{};
  const ULONG type = elementOf(PROP_TYPE(list.ulPropTag));
  value.ulPropTag = PROP_TAG(type, PROP_ID(list.ulPropTag));
  if (type == PT_STRING8)
    value.Value.lpszA = list.Value.MVszA.lppszA[index];
  else if (type == PT_UNICODE)
    value.Value.lpszW = list.Value.MVszW.lppszW[index];
  else if (type == PT_BINARY)
    value.Value.bin = list.Value.MVbin.lpbin[index];
  else if (type == PT_CLSID)
    value.Value.lpguid = list.Value.MVguid.lpguid + index;
  else {
    const auto* values = reinterpret_cast<const BYTE*>(list.Value.MVl.lpl);
    std::memcpy(&value.Value, values + index * fixedSize(type), fixedSize(type));
  }
  return value;
}

int orderValues(const SPropValue& left, const SPropValue& right) {
  if (!isList(PROP_TYPE(left.ulPropTag))) return orderSingle(left, right);
  const ULONG leftCount = left.Value.MVl.cValues, rightCount = right.Value.MVl.cValues;
  for (ULONG i = 0; i < std::min(leftCount, rightCount); ++i) {
    if (const int compared = orderSingle(elementAt(left, i), elementAt(right, i))) return compared;
  }
  return order(leftCount, rightCount);
}

std::wstring wideText(const SPropValue& value) {
  if (PROP_TYPE(value.ulPropTag) == PT_UNICODE) return value.Value.lpszW;
  const int length = MultiByteToWideChar(CP_ACP, 0, value.Value.lpszA, -1, nullptr, 0);
  std::wstring text(static_cast<std::size_t>(std::max(length, 1)) - 1, L'\0');
  if (!text.empty()) MultiByteToWideChar(CP_ACP, 0, value.Value.lpszA, -1, text.data(), length);
  return text;
}

// Whether `whole` begins with, contains or equals `part`.
template <class Text, class Equal>
bool holds(const Text& whole, const Text& part, ULONG level, Equal equal) {
  if (part.size() > whole.size()) return false;
  const ULONG where = level & 0xFFFF;
  if (where == FL_FULLSTRING && part.size() != whole.size()) return false;
  const std::size_t last = where == FL_SUBSTRING ? whole.size() - part.size() : 0;
  for (std::size_t at = 0; at <= last; ++at) {
    if (equal(whole, at, part)) return true;
  }
  return false;
}

bool holdsText(const std::wstring& whole, const std::wstring& part, ULONG level) {
  DWORD how = 0;
  if (level & (FL_IGNORECASE | FL_LOOSE)) how |= NORM_IGNORECASE;
  if (level & (FL_IGNORENONSPACE | FL_LOOSE)) how |= NORM_IGNORENONSPACE;
  return holds(whole, part, level, [&](const std::wstring& in, std::size_t at, const std::wstring& wanted) {
    if (how == 0) return in.compare(at, wanted.size(), wanted) == 0;
    const int length = static_cast<int>(wanted.size());
    return CompareStringW(LOCALE_USER_DEFAULT, how, in.data() + at, length, wanted.data(), length) == CSTR_EQUAL;
  });
}

bool holdsBytes(const SBinary& whole, const SBinary& part, ULONG level) {
  const std::string in(reinterpret_cast<const char*>(whole.lpb), whole.cb);
  const std::string wanted(reinterpret_cast<const char*>(part.lpb), part.cb);
  return holds(in, wanted, level, [](const std::string& all, std::size_t at, const std::string& one) {
    return all.compare(at, one.size(), one) == 0;
  });
}

}  // namespace

extern "C" {

LPSPropValue WINAPI PpropFindProp(LPSPropValue values, ULONG count, ULONG tag) {
  if (!values) return nullptr;
  const auto found = std::find_if(values, values + count, [&](const SPropValue& value) {
    return PROP_TYPE(tag) == PT_UNSPECIFIED ? PROP_ID(value.ulPropTag) == PROP_ID(tag) : value.ulPropTag == tag;
  });
  return found == values + count ? nullptr : found;
}

LPSPropValue WINAPI LpValFindProp(ULONG tag, ULONG count, LPSPropValue values) {
  return PpropFindProp(values, count, tag);
}

// The size of only the value; of a text with its terminator.
ULONG WINAPI UlPropSize(LPSPropValue value) {
  if (!value) return 0;
  const ULONG type = PROP_TYPE(value->ulPropTag);
  std::size_t size = isList(type) ? 0 : fixedSize(type);
  if (size != 0) return static_cast<ULONG>(size);
  SPropValue copy = *value;
  bool isOuter = isList(type) && fixedSize(elementOf(type)) == 0;
  visitBelow(copy, [&](auto&, std::size_t bytes) {
    if (!isOuter) size += bytes;  // the array of pointers is not part of the values
    isOuter = false;
  });
  return static_cast<ULONG>(size);
}

SCODE WINAPI ScCountProps(int count, LPSPropValue values, ULONG* size) {
  std::size_t measured = 0;
  if (const SCODE result = measure(count, values, measured); FAILED(result)) return result;
  if (size) *size = static_cast<ULONG>(measured);
  return S_OK;
}

SCODE WINAPI ScCopyProps(int count, LPSPropValue values, LPVOID target, ULONG* size) {
  std::size_t measured = 0;
  if (!target) return MAPI_E_INVALID_PARAMETER;
  if (const SCODE result = measure(count, values, measured); FAILED(result)) return result;
  auto* copies = static_cast<SPropValue*>(target);
  BYTE* next = static_cast<BYTE*>(target) + inEights(static_cast<std::size_t>(count) * sizeof(SPropValue));
  if (count > 0) std::memcpy(copies, values, static_cast<std::size_t>(count) * sizeof(SPropValue));
  std::for_each(copies, copies + count, [&](SPropValue& value) { copyBelow(value, next); });
  if (size) *size = static_cast<ULONG>(measured);
  return S_OK;
}

// Changes pointers within a block from ScCopyProps from the old base to the new one. `values` points to the values'
// current place: at the new base (already moved) or at the old one (not yet).
SCODE WINAPI ScRelocProps(int count, LPSPropValue values, LPVOID oldBase, LPVOID newBase, ULONG* size) {
  if (count < 0 || (count > 0 && !values) || !oldBase || !newBase) return MAPI_E_INVALID_PARAMETER;
  const auto from = reinterpret_cast<ULONG_PTR>(oldBase), to = reinterpret_cast<ULONG_PTR>(newBase);
  const bool isMoved = values == newBase;
  std::size_t total = inEights(static_cast<std::size_t>(count) * sizeof(SPropValue));
  // Each pointer is first made valid for reading, then set to its final value.
  const auto toLook = [&](auto& pointer) {
    using Pointer = std::remove_reference_t<decltype(pointer)>;
    if (pointer && isMoved) pointer = reinterpret_cast<Pointer>(reinterpret_cast<ULONG_PTR>(pointer) - from + to);
  };
  const auto toKeep = [&](auto& pointer) {
    using Pointer = std::remove_reference_t<decltype(pointer)>;
    if (pointer && !isMoved) pointer = reinterpret_cast<Pointer>(reinterpret_cast<ULONG_PTR>(pointer) - from + to);
  };
  for (int i = 0; i < count; ++i) {
    SPropValue& value = values[i];
    const ULONG type = PROP_TYPE(value.ulPropTag), element = elementOf(type);
    if (!isProper(value)) return MAPI_E_INVALID_PARAMETER;
    auto& held = value.Value;
    const ULONG many = isList(type) ? held.MVl.cValues : 0;
    const auto relocate = [&](auto& pointer, auto&& sizeOf) {
      toLook(pointer);
      total += inEights(sizeOf(pointer));
      toKeep(pointer);
    };
    const auto text = [](auto* one) { return textSize(one); };
    if (!isList(type)) {
      if (type == PT_STRING8)
        relocate(held.lpszA, text);
      else if (type == PT_UNICODE)
        relocate(held.lpszW, text);
      else if (type == PT_BINARY)
        relocate(held.bin.lpb, [&](auto*) { return std::size_t{held.bin.cb}; });
      else if (type == PT_CLSID)
        relocate(held.lpguid, [](auto*) { return sizeof(GUID); });
      continue;
    }
    const auto relocateAll = [&](auto& array, auto&& each) {
      toLook(array);
      total += inEights(many * sizeof *array);
      for (ULONG k = 0; k < many; ++k) each(array[k]);
      toKeep(array);
    };
    if (element == PT_STRING8)
      relocateAll(held.MVszA.lppszA, [&](LPSTR& one) { relocate(one, text); });
    else if (element == PT_UNICODE)
      relocateAll(held.MVszW.lppszW, [&](LPWSTR& one) { relocate(one, text); });
    else if (element == PT_BINARY) {
      relocateAll(held.MVbin.lpbin,
                  [&](SBinary& one) { relocate(one.lpb, [&](auto*) { return std::size_t{one.cb}; }); });
    } else {
      relocate(held.MVl.lpl, [&](auto*) { return many * fixedSize(element); });
    }
  }
  if (size) *size = static_cast<ULONG>(total);
  return S_OK;
}

SCODE WINAPI ScDupPropset(int count, LPSPropValue values, LPALLOCATEBUFFER allocate, LPSPropValue* copy) {
  std::size_t size = 0;
  if (!allocate || !copy) return MAPI_E_INVALID_PARAMETER;
  *copy = nullptr;
  if (const SCODE result = measure(count, values, size); FAILED(result)) return result;
  void* block = nullptr;
  if (const SCODE result = allocate(static_cast<ULONG>(size), &block); FAILED(result)) return result;
  *copy = static_cast<LPSPropValue>(block);
  return ScCopyProps(count, values, block, nullptr);
}

// The value's data becomes one block, chained to the caller's.
SCODE WINAPI PropCopyMore(LPSPropValue target, LPSPropValue source, ALLOCATEMORE* allocateMore, LPVOID chain) {
  if (!target || !source || !allocateMore) return MAPI_E_INVALID_PARAMETER;
  SPropValue copy = *source;
  std::size_t size = 0;
  visitBelow(copy, [&](auto&, std::size_t bytes) { size += inEights(bytes); });
  if (size > 0) {
    void* block = nullptr;
    if (const SCODE result = allocateMore(static_cast<ULONG>(size), chain, &block); FAILED(result)) return result;
    auto* next = static_cast<BYTE*>(block);
    copyBelow(copy, next);
  }
  *target = copy;
  return S_OK;
}

void WINAPI GetInstance(LPSPropValue list, LPSPropValue single, ULONG index) {
  if (!list || !single || !isList(PROP_TYPE(list->ulPropTag)) || index >= list->Value.MVl.cValues) return;
  *single = elementAt(*list, index);
}

LONG WINAPI LPropCompareProp(LPSPropValue left, LPSPropValue right) {
  if (!left || !right) return order(left, right);
  const ULONG leftType = PROP_TYPE(left->ulPropTag), rightType = PROP_TYPE(right->ulPropTag);
  return leftType == rightType ? orderValues(*left, *right) : order(leftType, rightType);
}

// False for values of different types, and for patterns (RELOP_RE), which are not documented.
WINBOOL WINAPI FPropCompareProp(LPSPropValue left, ULONG relation, LPSPropValue right) {
  if (!left || !right || PROP_TYPE(left->ulPropTag) != PROP_TYPE(right->ulPropTag)) return FALSE;
  const int compared = orderValues(*left, *right);
  switch (relation) {
    case RELOP_LT: return compared < 0;
    case RELOP_LE: return compared <= 0;
    case RELOP_GT: return compared > 0;
    case RELOP_GE: return compared >= 0;
    case RELOP_EQ: return compared == 0;
    case RELOP_NE: return compared != 0;
    default: return FALSE;
  }
}

WINBOOL WINAPI FPropContainsProp(LPSPropValue whole, LPSPropValue part, ULONG level) {
  if (!whole || !part || PROP_TYPE(whole->ulPropTag) != PROP_TYPE(part->ulPropTag)) return FALSE;
  try {
    switch (PROP_TYPE(whole->ulPropTag)) {
      case PT_STRING8:
      case PT_UNICODE: return holdsText(wideText(*whole), wideText(*part), level);
      case PT_BINARY: return holdsBytes(whole->Value.bin, part->Value.bin, level);
      default: return FALSE;
    }
  } catch (const std::bad_alloc&) {
    return FALSE;
  }
}

WINBOOL WINAPI FEqualNames(LPMAPINAMEID left, LPMAPINAMEID right) {
  if (!left || !right || !left->lpguid || !right->lpguid) return FALSE;
  if (left->ulKind != right->ulKind || std::memcmp(left->lpguid, right->lpguid, sizeof(GUID)) != 0) return FALSE;
  if (left->ulKind == MNID_ID) return left->Kind.lID == right->Kind.lID;
  return std::wcscmp(left->Kind.lpwstrName, right->Kind.lpwstrName) == 0;
}

}  // extern "C"
