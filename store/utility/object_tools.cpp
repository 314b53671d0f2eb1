// Functions on MAPI objects, whoever made them, and on memory.
#include <algorithm>
#include <iterator>

#include "com_object.h"
#include "object_reading.h"

namespace {

using namespace fendrel::utility;

// The tag without its flag for rows of single values, so that both forms are one column.
constexpr ULONG columnOf(ULONG tag) { return tag & ~static_cast<ULONG>(MV_INSTANCE); }

}  // namespace

extern "C" {

// There is nothing to set up: the functions work from the first.
SCODE WINAPI ScInitMapiUtil(ULONG flags) { return flags == 0 ? S_OK : MAPI_E_UNKNOWN_FLAGS; }
void WINAPI DeinitMapiUtil() {}

LPMALLOC WINAPI MAPIGetDefaultMalloc() {
  LPMALLOC memory = nullptr;
  return SUCCEEDED(CoGetMalloc(1, &memory)) ? memory : nullptr;
}

ULONG WINAPI UlAddRef(LPVOID object) { return object ? static_cast<IUnknown*>(object)->AddRef() : 0; }
ULONG WINAPI UlRelease(LPVOID object) { return object ? static_cast<IUnknown*>(object)->Release() : 0; }

HRESULT WINAPI HrGetOneProp(LPMAPIPROP object, ULONG tag, LPSPropValue* value) {
  if (!object || !value) return MAPI_E_INVALID_PARAMETER;
  *value = nullptr;
  return guarded([&] {
    MapiBuffer<SPropValue> found;
    const HRESULT result = readOne(*object, tag, found);
    *value = found.release();
    return result;
  });
}

// A problem with the one property is the call's failure.
HRESULT WINAPI HrSetOneProp(LPMAPIPROP object, LPSPropValue value) {
  if (!object || !value) return MAPI_E_INVALID_PARAMETER;
  LPSPropProblemArray raw = nullptr;
  const HRESULT result = object->SetProps(1, value, &raw);
  const MapiBuffer<SPropProblemArray> problems(raw);
  return SUCCEEDED(result) && problems && problems->cProblem > 0 ? problems->aProblem[0].scode : result;
}

WINBOOL WINAPI FPropExists(LPMAPIPROP object, ULONG tag) {
  if (!object) return FALSE;
  SPropTagArray* raw = nullptr;
  if (FAILED(object->GetPropList(PROP_TYPE(tag) == PT_STRING8 ? 0 : MAPI_UNICODE, &raw))) return FALSE;
  const MapiBuffer<SPropTagArray> tags(raw);
  for (ULONG i = 0; tags && i < tags->cValues; ++i) {
    const ULONG one = tags->aulPropTag[i];
    if (PROP_TYPE(tag) == PT_UNSPECIFIED ? PROP_ID(one) == PROP_ID(tag) : one == tag) return TRUE;
  }
  return FALSE;
}

void WINAPI FreeProws(LPSRowSet rows) { freeRows(rows); }

void WINAPI FreePadrlist(LPADRLIST list) {
  if (!list) return;
  for (ULONG i = 0; i < list->cEntries; ++i) freeChain(list->aEntries[i].rgPropVals);
  freeChain(list);
}

HRESULT WINAPI HrQueryAllRows(LPMAPITABLE table, LPSPropTagArray columns, LPSRestriction restriction,
                              LPSSortOrderSet order, LONG mostRows, LPSRowSet* rows) {
  if (!table || !rows) return MAPI_E_INVALID_PARAMETER;
  *rows = nullptr;
  return guarded([&] {
    MapiRows found;
    const HRESULT result = readAllRows(*table, columns, restriction, order, mostRows, found);
    *rows = found.release();
    return result;
  });
}

// The wanted columns first, then those of the table's that are not among them.
HRESULT WINAPI HrAddColumnsEx(LPMAPITABLE table, LPSPropTagArray wanted, LPALLOCATEBUFFER, LPFREEBUFFER,
                              void (*filter)(LPSPropTagArray)) {
  if (!table || !wanted) return MAPI_E_INVALID_PARAMETER;
  return guarded([&]() -> HRESULT {
    SPropTagArray* raw = nullptr;
    const HRESULT result = table->QueryColumns(0, &raw);
    const MapiBuffer<SPropTagArray> present(raw);
    if (FAILED(result)) return result;
    if (filter) filter(present.get());
    auto all = allocateMapi<SPropTagArray>(CbNewSPropTagArray(std::size_t{wanted->cValues} + present->cValues));
    const auto add = [&](ULONG tag) {
      for (ULONG i = 0; i < all->cValues; ++i) {
        if (columnOf(all->aulPropTag[i]) == columnOf(tag)) return;
      }
      all->aulPropTag[all->cValues++] = tag;
    };
    for (ULONG i = 0; i < wanted->cValues; ++i) add(wanted->aulPropTag[i]);
    for (ULONG i = 0; i < present->cValues; ++i) {
      if (present->aulPropTag[i] != PR_NULL) add(present->aulPropTag[i]);
    }
    return table->SetColumns(all.get(), 0);
  });
}

HRESULT WINAPI HrAddColumns(LPMAPITABLE table, LPSPropTagArray wanted, LPALLOCATEBUFFER allocate, LPFREEBUFFER free) {
  return HrAddColumnsEx(table, wanted, allocate, free, nullptr);
}

// Our stores have their standard folders from the first; of another store it tells what is there.
HRESULT WINAPI HrValidateIPMSubtree(LPMDB store, ULONG, ULONG* count, LPSPropValue* values, LPMAPIERROR* error) {
  if (error) *error = nullptr;
  if (!store || !count || !values) return MAPI_E_INVALID_PARAMETER;
  *count = 0;
  *values = nullptr;
  SizedSPropTagArray(8, tags) = {
      8,
      {PR_VALID_FOLDER_MASK, PR_IPM_SUBTREE_ENTRYID, PR_IPM_OUTBOX_ENTRYID, PR_IPM_WASTEBASKET_ENTRYID,
       PR_IPM_SENTMAIL_ENTRYID, PR_VIEWS_ENTRYID, PR_COMMON_VIEWS_ENTRYID, PR_FINDER_ENTRYID}};
  LPSPropValue found = nullptr;
  ULONG foundCount = 0;
  const HRESULT result = store->GetProps(reinterpret_cast<LPSPropTagArray>(&tags), 0, &foundCount, &found);
  MapiBuffer<SPropValue> owned(found);
  if (FAILED(result)) return result;
  // A mask without the subtree is of a store that has none.
  const bool hasSubtree = foundCount == tags.cValues && found[1].ulPropTag == PR_IPM_SUBTREE_ENTRYID;
  if (!hasSubtree) return MAPI_E_NO_SUPPORT;
  *count = foundCount;
  *values = owned.release();
  return S_OK;
}

// 22 bytes at the beginning of a conversation: 1, the time's bytes from the seventh highest down, and a new identifier;
// each answer adds 5 with the time since.
SCODE WINAPI ScCreateConversationIndex(ULONG parentSize, LPBYTE parent, ULONG* size, LPBYTE* index) {
  constexpr ULONG headSize = 22, childSize = 5;
  if (!size || !index || (parentSize && !parent)) return MAPI_E_INVALID_PARAMETER;
  *size = 0;
  *index = nullptr;
  return guarded([&]() -> HRESULT {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    const ULONGLONG ticks = static_cast<ULONGLONG>(now.dwHighDateTime) << 32 | now.dwLowDateTime;
    const bool isAnswer = parentSize >= headSize;
    const ULONG made = isAnswer ? parentSize + childSize : headSize;
    auto bytes = allocateMapi<BYTE>(made);
    BYTE* to = bytes.get();
    if (isAnswer) {
      std::copy(parent, parent + parentSize, to);
      ULONGLONG begun = 0;
      for (int i = 1; i <= 5; ++i) begun = begun << 8 | parent[i];
      begun <<= 16;  // the bytes that the head leaves out
      begun |= 0x01ULL << 56;
      ULONGLONG since = ticks > begun ? ticks - begun : 0;
      // Up to 1.7 years in steps of 26 ms, longer ones in coarser steps, which the highest bit tells.
      const bool isCoarse = (since >> 49) != 0;
      const auto steps =
          static_cast<ULONG>((isCoarse ? since >> 23 : since >> 18) & 0x7FFFFFFF) | (isCoarse ? 0x80000000u : 0u);
      for (int i = 0; i < 4; ++i) to[parentSize + static_cast<ULONG>(i)] = static_cast<BYTE>(steps >> (24 - 8 * i));
      GUID random{};
      CoCreateGuid(&random);
      to[parentSize + 4] = static_cast<BYTE>(random.Data1 ^ random.Data4[7]);
    } else {
      to[0] = 1;
      for (int i = 0; i < 5; ++i) to[1 + i] = static_cast<BYTE>(ticks >> (48 - 8 * i));
      GUID identifier{};
      if (const HRESULT result = CoCreateGuid(&identifier); FAILED(result)) return result;
      const BYTE head[] = {static_cast<BYTE>(identifier.Data1 >> 24), static_cast<BYTE>(identifier.Data1 >> 16),
                           static_cast<BYTE>(identifier.Data1 >> 8),  static_cast<BYTE>(identifier.Data1),
                           static_cast<BYTE>(identifier.Data2 >> 8),  static_cast<BYTE>(identifier.Data2),
                           static_cast<BYTE>(identifier.Data3 >> 8),  static_cast<BYTE>(identifier.Data3)};
      std::copy(std::begin(head), std::end(head), to + 6);
      std::copy(std::begin(identifier.Data4), std::end(identifier.Data4), to + 14);
    }
    *size = made;
    *index = bytes.release();
    return S_OK;
  });
}

}  // extern "C"
