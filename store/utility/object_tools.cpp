// Helper functions for MAPI objects of any provider, and for memory.
#include <algorithm>
#include <iterator>

#include "com_object.h"
#include "object_reading.h"

namespace {

using namespace fendrel::utility;

// The tag without MV_INSTANCE, so that both forms are one column.
constexpr ULONG columnOf(ULONG tag) { return tag & ~static_cast<ULONG>(MV_INSTANCE); }

}  // namespace

extern "C" {

// Nothing to initialise.
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

// A problem with the property is the call's result.
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

// The wanted columns first, then the table's other columns.
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

// Our stores always have their standard folders; for other stores it returns the existing ones.
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
  // The store has no subtree.
  const bool hasSubtree = foundCount == tags.cValues && found[1].ulPropTag == PR_IPM_SUBTREE_ENTRYID;
  if (!hasSubtree) return MAPI_E_NO_SUPPORT;
  *count = foundCount;
  *values = owned.release();
  return S_OK;
}

// A new conversation has 22 bytes: 1, five bytes of the time, and a new identifier; each reply adds 5 bytes with the
// time since then.
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
      begun <<= 16;  // the bytes that the header omits
      begun |= 0x01ULL << 56;
      ULONGLONG since = ticks > begun ? ticks - begun : 0;
      // Up to 1.7 years in steps of 26 ms; longer times in coarser steps, marked by the highest bit.
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
